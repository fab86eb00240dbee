// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_REPORTING_STATS_LOGGER_IF_H
#define FLASHWATCH_REPORTING_STATS_LOGGER_IF_H

#include <vector>

#include "flashwatch/stats/stat_record.h"

namespace orvel::flashwatch::diagnostics {

/// Writes statistics to a log context of their own. May be called from several threads at once.
class Stats_logger_if {
 public:
  virtual ~Stats_logger_if() = default;
  Stats_logger_if(Stats_logger_if const&) = delete;
  Stats_logger_if& operator=(Stats_logger_if const&) = delete;

  /// One info line for each record; before the first call's lines, one line for each record with its limits.
  virtual void info_log_stats(std::vector<Stat_record> const& records) = 0;
  /// One debug line for each record.
  virtual void debug_log_stats(std::vector<Stat_record> const& records) = 0;

 protected:
  Stats_logger_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
