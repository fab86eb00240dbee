// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_STATS_STATS_ANNUAL_SUPERVISION_IF_H
#define FLASHWATCH_STATS_STATS_ANNUAL_SUPERVISION_IF_H

#include <vector>

#include "flashwatch/stats/stat_record.h"

namespace orvel::flashwatch::diagnostics {

/// The one source of statistics records. Called from the main thread and from the threads of the communication; may
/// block for as long as the statistics service takes to answer.
class Stats_annual_supervision_if {
 public:
  virtual ~Stats_annual_supervision_if() = default;
  Stats_annual_supervision_if(Stats_annual_supervision_if const&) = delete;
  Stats_annual_supervision_if& operator=(Stats_annual_supervision_if const&) = delete;

  /// A record for each entry of the statistics, in the order of their keys. Throws what the readout of the statistics
  /// throws, and in the first readout what the storage throws when it is asked whether a key exists.
  virtual std::vector<Stat_record> get_stats() = 0;

  /// The same, but a failure is logged and gives no records. Never throws.
  virtual std::vector<Stat_record> get_stats_safe() = 0;

 protected:
  Stats_annual_supervision_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
