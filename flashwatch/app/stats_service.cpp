// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/app/stats_service.h"

#include <utility>

#include "ara/log/logging.h"

namespace orvel::flashwatch::diagnostics {

Stats_service::Stats_service(std::shared_ptr<Proxy_initializer_if> const& proxy_initializer,
                             std::unique_ptr<Periodic_stats_if> periodic_stats,
                             std::unique_ptr<Non_periodic_stats_if> non_periodic_stats,
                             std::unique_ptr<Retry_policy_if> retry_policy,
                             std::unique_ptr<Stats_skeleton_if> stats_skeleton,
                             std::unique_ptr<Application_state_reporter_if> state_reporter)
    : proxy_initializer_(proxy_initializer),
      periodic_stats_(std::move(periodic_stats)),
      non_periodic_stats_(std::move(non_periodic_stats)),
      retry_policy_(std::move(retry_policy)),
      stats_skeleton_(std::move(stats_skeleton)),
      state_reporter_(std::move(state_reporter)) {}

Stats_service::~Stats_service() { stats_skeleton_->stop_offer_services(); }

void Stats_service::init() {
  proxy_initializer_->init_proxy();
  stats_skeleton_->offer_services();
}

void Stats_service::run() {
  state_reporter_->report_running();
  while (retry_policy_->retry()) {
    periodic_stats_->log_stats();
  }
}

void Stats_service::shutdown() {
  ara::log::LogDebug() << "Shutdown will proceed";
  non_periodic_stats_->on_shutdown();
  state_reporter_->report_terminating();
}

}  // namespace orvel::flashwatch::diagnostics
