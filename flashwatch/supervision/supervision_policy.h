// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_SUPERVISION_SUPERVISION_POLICY_H
#define FLASHWATCH_SUPERVISION_SUPERVISION_POLICY_H

#include <chrono>
#include <memory>
#include <utility>

#include "flashwatch/supervision/alive_supervision_if.h"

namespace orvel::flashwatch::diagnostics {

/// A wait that reports one alive checkpoint after each sleep.
class Supervision_policy {
 public:
  Supervision_policy(std::chrono::seconds sleep_time, std::unique_ptr<Alive_supervision_if> alive_supervision)
      : sleep_time_(sleep_time), alive_supervision_(std::move(alive_supervision)) {}

 protected:
  std::chrono::seconds sleep_time() const { return sleep_time_; }
  void report() const { alive_supervision_->checkpoint_reached(); }

 private:
  std::chrono::seconds sleep_time_;
  std::unique_ptr<Alive_supervision_if> alive_supervision_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
