// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_STATS_SERVICE_H
#define FLASHWATCH_APP_STATS_SERVICE_H

#include <memory>

#include "flashwatch/app/application_state_reporter_if.h"
#include "flashwatch/app/stats_service_if.h"
#include "flashwatch/diag/stats_skeleton_if.h"
#include "flashwatch/reporting/non_periodic_stats_if.h"
#include "flashwatch/reporting/periodic_stats_if.h"
#include "flashwatch/stats/proxy_initializer_if.h"
#include "flashwatch/supervision/retry_policy_if.h"

namespace orvel::flashwatch::diagnostics {

class Stats_service final : public Stats_service_if {
 public:
  /// No pointer is null: an element that is not wanted is an empty variant.
  Stats_service(std::shared_ptr<Proxy_initializer_if> const& proxy_initializer,
                std::unique_ptr<Periodic_stats_if> periodic_stats,
                std::unique_ptr<Non_periodic_stats_if> non_periodic_stats,
                std::unique_ptr<Retry_policy_if> retry_policy, std::unique_ptr<Stats_skeleton_if> stats_skeleton,
                std::unique_ptr<Application_state_reporter_if> state_reporter);
  /// Withdraws the diagnostic services before anything is released that their requests use.
  ~Stats_service() override;

  void init() override;
  void run() override;
  void shutdown() override;

 private:
  std::shared_ptr<Proxy_initializer_if> proxy_initializer_;
  std::unique_ptr<Periodic_stats_if> periodic_stats_;
  std::unique_ptr<Non_periodic_stats_if> non_periodic_stats_;
  std::unique_ptr<Retry_policy_if> retry_policy_;
  std::unique_ptr<Stats_skeleton_if> stats_skeleton_;
  std::unique_ptr<Application_state_reporter_if> state_reporter_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
