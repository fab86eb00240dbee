// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/reporting/periodic_stats.h"

namespace orvel::flashwatch::diagnostics {

Periodic_stats::Periodic_stats(std::shared_ptr<Stats_annual_supervision_if> const& supervision,
                               std::shared_ptr<Stats_logger_if> const& logger)
    : supervision_(supervision), logger_(logger) {}

void Periodic_stats::log_stats() { logger_->info_log_stats(supervision_->get_stats_safe()); }

}  // namespace orvel::flashwatch::diagnostics
