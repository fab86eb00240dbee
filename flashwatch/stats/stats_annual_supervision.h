// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_STATS_STATS_ANNUAL_SUPERVISION_H
#define FLASHWATCH_STATS_STATS_ANNUAL_SUPERVISION_H

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "flashwatch/app/time_wrapper_if.h"
#include "flashwatch/stats/io_stats_provider_if.h"
#include "flashwatch/stats/limits.h"
#include "flashwatch/stats/persistent_storage_if.h"
#include "flashwatch/stats/stats_annual_supervision_if.h"

namespace orvel::flashwatch::diagnostics {

/// Holds each application's writes against a budget that grows by one year's limits with every year of use.
///
/// Years and limits are worked out once, from the first readout that succeeds, against the time of construction, and
/// stay as they are while the process runs. The storage holds the limits of the completed years; in memory there is
/// one year more, the current one.
class Stats_annual_supervision final : public Stats_annual_supervision_if {
 public:
  struct Years_limits {
    std::uint32_t years_in_use = 0;
    Limits limits;
  };

  /// `time` is asked once and not kept.
  Stats_annual_supervision(std::shared_ptr<Io_stats_provider_if> const& provider,
                           std::unique_ptr<Persistent_storage_if> storage, std::unique_ptr<Time_wrapper_if> time);

  std::vector<Stat_record> get_stats() override;
  std::vector<Stat_record> get_stats_safe() override;

 private:
  using Statistics = std::map<std::string, persistency::KVS_io_stat>;

  void init_years_and_limits(Statistics const& stats);
  Years_limits init_first_use(std::string const& id, Limits const& budget);
  Years_limits init_further_use(std::string const& id, Limits const& budget,
                                Persistent_storage_if::Entry const& persisted);
  std::vector<Stat_record> convert_stats(Statistics const& stats) const;
  Stat_record create_stat_record(persistency::KVS_io_stat const& stat, Years_limits const& years_limits) const;
  Years_limits get_years_limits(std::string const& id) const;
  std::uint32_t get_time_diff_in_secs(std::int64_t first_use) const;

  std::shared_ptr<Io_stats_provider_if> provider_;
  std::unique_ptr<Persistent_storage_if> storage_;
  std::int64_t start_time_;  ///< seconds since the epoch
  std::once_flag initialised_;
  std::unordered_map<std::string, Years_limits> years_limits_;  ///< written under initialised_ only, then only read
};

}  // namespace orvel::flashwatch::diagnostics

#endif
