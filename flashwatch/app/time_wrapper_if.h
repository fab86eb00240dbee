// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_TIME_WRAPPER_IF_H
#define FLASHWATCH_APP_TIME_WRAPPER_IF_H

#include <chrono>
#include <ctime>

namespace orvel::flashwatch::diagnostics {

/// The clock and the sleep of the process.
class Time_wrapper_if {
 public:
  virtual ~Time_wrapper_if() = default;
  Time_wrapper_if(Time_wrapper_if const&) = delete;
  Time_wrapper_if& operator=(Time_wrapper_if const&) = delete;

  /// Seconds since the epoch, wall clock.
  virtual std::time_t get_current_time() const = 0;

  /// Blocks for `duration`. Returns the whole seconds that were not slept: 0 when the time passed, more when a signal
  /// cut the sleep short. A rest of less than a second may count as 0.
  virtual unsigned sleep(std::chrono::seconds duration) const = 0;

 protected:
  Time_wrapper_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
