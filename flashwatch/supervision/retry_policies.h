// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_SUPERVISION_RETRY_POLICIES_H
#define FLASHWATCH_SUPERVISION_RETRY_POLICIES_H

#include <atomic>
#include <chrono>
#include <memory>

#include "flashwatch/supervision/retry_policy_if.h"

namespace orvel::flashwatch::diagnostics {

// The three policies that the service uses, each with a clock of its own. Arguments are stored, not checked; `stop`
// outlives the policy.

/// One sleep of `wait`, which a signal cuts short; false when one did or when `stop` is set before or after it.
std::unique_ptr<Retry_policy_if> make_sleep_interrupt_policy(std::chrono::seconds wait, std::atomic<bool> const& stop);

/// `period` in sleeps of one minute with one alive checkpoint after each. A signal ends it at once, `stop` set without
/// one at the end of the current sleep.
std::unique_ptr<Retry_policy_if> make_sleep_alive_supervised_interrupt_policy(std::chrono::minutes period,
                                                                              std::atomic<bool> const& stop);

/// `period` in sleeps of one minute with one alive checkpoint after each; never tells the caller to stop.
std::unique_ptr<Retry_policy_if> make_sleep_alive_supervised_policy(std::chrono::minutes period);

}  // namespace orvel::flashwatch::diagnostics

#endif
