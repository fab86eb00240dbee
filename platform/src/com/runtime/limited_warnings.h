// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_RUNTIME_LIMITED_WARNINGS_H
#define PLATFORM_SRC_COM_RUNTIME_LIMITED_WARNINGS_H

#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>

namespace linux_platform::com {

/// Warnings that peers can cause as often as they like: one a second is logged, the others are counted with the next.
/// Any thread may call.
class Limited_warnings final {
 public:
  void warn(std::string const& what);

 private:
  std::mutex mutex_;  ///< guards what follows
  std::chrono::steady_clock::time_point next_{};
  std::size_t left_out_ = 0;
};

}  // namespace linux_platform::com

#endif
