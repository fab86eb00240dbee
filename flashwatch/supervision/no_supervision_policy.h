// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_SUPERVISION_NO_SUPERVISION_POLICY_H
#define FLASHWATCH_SUPERVISION_NO_SUPERVISION_POLICY_H

#include <chrono>

namespace orvel::flashwatch::diagnostics {

/// A wait that reports nothing.
class No_supervision_policy {
 public:
  explicit No_supervision_policy(std::chrono::seconds sleep_time) : sleep_time_(sleep_time) {}

 protected:
  std::chrono::seconds sleep_time() const { return sleep_time_; }
  static void report() {}

 private:
  std::chrono::seconds sleep_time_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
