// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_TIME_WRAPPER_H
#define FLASHWATCH_APP_TIME_WRAPPER_H

#include "flashwatch/app/time_wrapper_if.h"

namespace orvel::flashwatch::diagnostics {

/// The clock and the sleep of POSIX. A duration is converted to 32 bits, unsigned.
class Time_wrapper final : public Time_wrapper_if {
 public:
  std::time_t get_current_time() const override;
  unsigned sleep(std::chrono::seconds duration) const override;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
