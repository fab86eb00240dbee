// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_RUNTIME_WORKER_POOL_H
#define PLATFORM_SRC_COM_RUNTIME_WORKER_POOL_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

#include "platform/src/com/runtime/readiness.h"
#include "platform/src/com/runtime/workspace.h"

namespace linux_platform::com {

/// The threads that run methods, as leader and followers: all wait at one place, one of them takes what comes and deals
/// with it to its end, and the others go on waiting.
///
/// One thread waits as long as the pool lives. Before a thread enters a method it sees to it that another one waits,
/// up to the limit; a thread that was not needed for some seconds leaves. All of them block all signals.
class Worker_pool final {
 public:
  /// `serve` deals with the sign of the given id; it must not throw. `limit` is the number of threads, at least one.
  using Serve = std::function<void(std::uint64_t id, Workspace& workspace)>;
  Worker_pool(std::size_t limit, Serve serve) : limit_(limit), serve_(std::move(serve)) {}
  ~Worker_pool() { stop(); }
  Worker_pool(Worker_pool const&) = delete;
  Worker_pool& operator=(Worker_pool const&) = delete;

  /// Where the workers wait.
  Readiness& readiness() noexcept { return readiness_; }

  /// Starts the first thread; without effect when it runs. Throws std::system_error.
  void start();
  /// Called by a worker that is about to enter a method.
  void keep_one_waiting() noexcept;
  /// Ends the threads once they come out of what they are doing, and waits for that.
  void stop() noexcept;

 private:
  void add_worker();
  void run(std::list<std::thread>::iterator self);
  bool leave(std::list<std::thread>::iterator self);

  std::size_t const limit_;
  Serve const serve_;
  Readiness readiness_;
  std::atomic<std::size_t> waiting_{0};  ///< threads that wait or are about to
  std::atomic<std::size_t> threads_{0};
  std::atomic<bool> stopping_{false};

  std::mutex mutex_;  ///< guards what follows
  std::list<std::thread> workers_;
  std::list<std::thread> departed_;  ///< have left or are just leaving
};

}  // namespace linux_platform::com

#endif
