// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_SUPERVISION_INTERRUPT_POLICY_H
#define FLASHWATCH_SUPERVISION_INTERRUPT_POLICY_H

#include <atomic>

namespace orvel::flashwatch::diagnostics {

/// A wait that a signal ends by cutting a sleep short; the stop flag is looked at before each sleep and at the end. The
/// flag outlives the policy, which only reads it.
class Interrupt_policy {
 public:
  explicit Interrupt_policy(std::atomic<bool> const& stop) : stop_(stop) {}

 protected:
  bool is_stopped() const { return stop_.load(std::memory_order_acquire); }
  static bool is_cut_short(unsigned unslept_seconds) { return unslept_seconds > 0; }

 private:
  std::atomic<bool> const& stop_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
