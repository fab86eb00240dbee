// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_SUPERVISION_NO_INTERRUPT_POLICY_H
#define FLASHWATCH_SUPERVISION_NO_INTERRUPT_POLICY_H

namespace orvel::flashwatch::diagnostics {

/// A wait that nothing ends early: a signal only shortens the sleep it meets.
class No_interrupt_policy {
 protected:
  static bool is_stopped() { return false; }
  static bool is_cut_short(unsigned /*unslept_seconds*/) { return false; }
};

}  // namespace orvel::flashwatch::diagnostics

#endif
