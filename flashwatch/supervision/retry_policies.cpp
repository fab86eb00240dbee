// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/supervision/retry_policies.h"

#include <utility>

#include "flashwatch/app/time_wrapper.h"
#include "flashwatch/supervision/alive_supervision.h"
#include "flashwatch/supervision/interrupt_policy.h"
#include "flashwatch/supervision/no_interrupt_policy.h"
#include "flashwatch/supervision/no_supervision_policy.h"
#include "flashwatch/supervision/retry_policy.h"
#include "flashwatch/supervision/supervision_policy.h"

namespace orvel::flashwatch::diagnostics {
namespace {

/// One sleep, and so the rhythm of the alive checkpoints, whatever the period is.
constexpr std::chrono::seconds supervised_sleep{60};

}  // namespace

std::unique_ptr<Retry_policy_if> make_sleep_interrupt_policy(std::chrono::seconds wait, std::atomic<bool> const& stop) {
  using Policy = Retry_policy<Interrupt_policy, No_supervision_policy>;
  return std::make_unique<Policy>(Interrupt_policy(stop), No_supervision_policy(wait), 1,
                                  std::make_unique<Time_wrapper>());
}

std::unique_ptr<Retry_policy_if> make_sleep_alive_supervised_interrupt_policy(std::chrono::minutes period,
                                                                              std::atomic<bool> const& stop) {
  using Policy = Retry_policy<Interrupt_policy, Supervision_policy>;
  auto alive_supervision = std::make_unique<Alive_supervision>();
  auto time = std::make_unique<Time_wrapper>();
  return std::make_unique<Policy>(Interrupt_policy(stop),
                                  Supervision_policy(supervised_sleep, std::move(alive_supervision)), period.count(),
                                  std::move(time));
}

std::unique_ptr<Retry_policy_if> make_sleep_alive_supervised_policy(std::chrono::minutes period) {
  using Policy = Retry_policy<No_interrupt_policy, Supervision_policy>;
  auto alive_supervision = std::make_unique<Alive_supervision>();
  auto time = std::make_unique<Time_wrapper>();
  return std::make_unique<Policy>(No_interrupt_policy(),
                                  Supervision_policy(supervised_sleep, std::move(alive_supervision)), period.count(),
                                  std::move(time));
}

}  // namespace orvel::flashwatch::diagnostics
