// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/reporting/non_periodic_stats.h"

namespace orvel::flashwatch::diagnostics {

Non_periodic_stats::Non_periodic_stats(std::shared_ptr<Stats_annual_supervision_if> const& supervision,
                                       std::shared_ptr<Stats_logger_if> const& logger)
    : supervision_(supervision), logger_(logger) {}

void Non_periodic_stats::on_shutdown() { logger_->info_log_stats(supervision_->get_stats()); }

}  // namespace orvel::flashwatch::diagnostics
