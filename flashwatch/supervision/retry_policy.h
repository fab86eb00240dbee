// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_SUPERVISION_RETRY_POLICY_H
#define FLASHWATCH_SUPERVISION_RETRY_POLICY_H

#include <cstdint>
#include <memory>
#include <utility>

#include "flashwatch/app/time_wrapper_if.h"
#include "flashwatch/supervision/retry_policy_if.h"

namespace orvel::flashwatch::diagnostics {

/// Waits a number of equal sleeps. `Interrupt` says what ends the wait early, `Supervision` how long one sleep is and
/// what is reported after it. Keeps no state between calls.
template <typename Interrupt, typename Supervision>
class Retry_policy final : public Retry_policy_if, private Interrupt, private Supervision {
 public:
  /// With `repetitions` below 1 retry() does not sleep at all.
  Retry_policy(Interrupt interrupt, Supervision supervision, std::int64_t repetitions,
               std::unique_ptr<Time_wrapper_if> time)
      : Interrupt(std::move(interrupt)),
        Supervision(std::move(supervision)),
        repetitions_(repetitions),
        time_(std::move(time)) {}

  bool retry() const override {
    for (std::int64_t i = 0; i < repetitions_; ++i) {
      if (Interrupt::is_stopped()) {
        return false;
      }
      if (Interrupt::is_cut_short(time_->sleep(Supervision::sleep_time()))) {
        return false;
      }
      Supervision::report();
    }
    return !Interrupt::is_stopped();
  }

 private:
  std::int64_t repetitions_;
  std::unique_ptr<Time_wrapper_if> time_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
