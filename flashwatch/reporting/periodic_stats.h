// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_REPORTING_PERIODIC_STATS_H
#define FLASHWATCH_REPORTING_PERIODIC_STATS_H

#include <memory>

#include "flashwatch/reporting/periodic_stats_if.h"
#include "flashwatch/reporting/stats_logger_if.h"
#include "flashwatch/stats/stats_annual_supervision_if.h"

namespace orvel::flashwatch::diagnostics {

/// A cycle never ends the service: a failed readout is a warning and no lines.
class Periodic_stats final : public Periodic_stats_if {
 public:
  Periodic_stats(std::shared_ptr<Stats_annual_supervision_if> const& supervision,
                 std::shared_ptr<Stats_logger_if> const& logger);

  void log_stats() override;

 private:
  std::shared_ptr<Stats_annual_supervision_if> supervision_;
  std::shared_ptr<Stats_logger_if> logger_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
