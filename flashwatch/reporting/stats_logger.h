// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_REPORTING_STATS_LOGGER_H
#define FLASHWATCH_REPORTING_STATS_LOGGER_H

#include <mutex>
#include <vector>

#include "ara/log/logger.h"
#include "flashwatch/reporting/stats_logger_if.h"

namespace orvel::flashwatch::diagnostics {

/// Logs to the context "DATA". Made after logging is initialised.
class Stats_logger final : public Stats_logger_if {
 public:
  Stats_logger();

  void info_log_stats(std::vector<Stat_record> const& records) override;
  void debug_log_stats(std::vector<Stat_record> const& records) override;

 private:
  void log_limits_once(std::vector<Stat_record> const& records);
  void log_limits(Stat_record const& record);

  ara::log::Logger& logger_;
  /// Consumed by the first info call whatever it was given: with no records then, no limits are ever logged.
  std::once_flag limits_logged_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
