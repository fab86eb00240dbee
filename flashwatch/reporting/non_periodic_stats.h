// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_REPORTING_NON_PERIODIC_STATS_H
#define FLASHWATCH_REPORTING_NON_PERIODIC_STATS_H

#include <memory>

#include "flashwatch/reporting/non_periodic_stats_if.h"
#include "flashwatch/reporting/stats_logger_if.h"
#include "flashwatch/stats/stats_annual_supervision_if.h"

namespace orvel::flashwatch::diagnostics {

/// A failed readout at the end is an error of the whole run: it passes to the caller.
class Non_periodic_stats final : public Non_periodic_stats_if {
 public:
  Non_periodic_stats(std::shared_ptr<Stats_annual_supervision_if> const& supervision,
                     std::shared_ptr<Stats_logger_if> const& logger);

  void on_shutdown() override;

 private:
  std::shared_ptr<Stats_annual_supervision_if> supervision_;
  std::shared_ptr<Stats_logger_if> logger_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
