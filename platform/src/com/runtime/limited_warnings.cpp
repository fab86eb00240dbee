// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/runtime/limited_warnings.h"

#include <utility>

#include "platform/src/com/runtime/comm_log.h"

namespace linux_platform::com {

void Limited_warnings::warn(std::string const& what) {
  std::size_t left_out = 0;
  {
    std::lock_guard<std::mutex> const lock(mutex_);
    auto const now = std::chrono::steady_clock::now();
    if (now < next_) {
      ++left_out_;
      return;
    }
    next_ = now + std::chrono::seconds(1);
    left_out = std::exchange(left_out_, 0);
  }
  auto line = comm_log().LogWarn();
  line << what;
  if (left_out > 0) {
    line << "- warnings left out before:" << left_out;
  }
}

}  // namespace linux_platform::com
