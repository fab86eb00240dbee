// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_PLATFORM_COM_GATE_H
#define TESTS_PLATFORM_COM_GATE_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace linux_platform::com::testing_support {

/// Where methods under test wait until the test lets them on. No wait takes longer than ten seconds.
class Gate {
 public:
  /// Waits inside until the gate is open.
  void pass() {
    std::unique_lock<std::mutex> lock(mutex_);
    ++inside_;
    changed_.notify_all();
    wait(lock, [this] { return open_; });
    --inside_;
  }
  void open() {
    std::lock_guard<std::mutex> const lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }
  /// Waits until `count` are inside; whether they came.
  bool await_inside(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    return wait(lock, [&] { return inside_ >= count; });
  }

 private:
  template <typename Condition>
  bool wait(std::unique_lock<std::mutex>& lock, Condition const& condition) {
    return changed_.wait_for(lock, std::chrono::seconds(10), condition);
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t inside_ = 0;
  bool open_ = false;
};

}  // namespace linux_platform::com::testing_support

#endif
