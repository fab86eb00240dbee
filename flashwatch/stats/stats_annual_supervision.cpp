// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/stats/stats_annual_supervision.h"

#include <utility>

#include "ara/log/logging.h"
#include "tarn/com/exceptions.h"

namespace orvel::flashwatch::diagnostics {
namespace {

/// The average Gregorian year: 365.2425 days of 86400 s.
constexpr std::uint32_t SECONDS_PER_YEAR = 31556952;

}  // namespace

Stats_annual_supervision::Stats_annual_supervision(std::shared_ptr<Io_stats_provider_if> const& provider,
                                                   std::unique_ptr<Persistent_storage_if> storage,
                                                   std::unique_ptr<Time_wrapper_if> time)
    : provider_(provider), storage_(std::move(storage)), start_time_(time->get_current_time()) {}

std::vector<Stat_record> Stats_annual_supervision::get_stats() {
  Statistics const stats = provider_->get_KVS_statistics();
  std::call_once(initialised_, [this, &stats] {
    init_years_and_limits(stats);
    storage_->sync_to_storage();
  });
  return convert_stats(stats);
}

std::vector<Stat_record> Stats_annual_supervision::get_stats_safe() {
  try {
    return get_stats();
  } catch (tarn::com::Transport_exception const& error) {
    ara::log::LogWarn() << "Runtime exception caught at statistics readout:" << error.what()
                        << "err code:" << error.error_code();
  } catch (...) {
    ara::log::LogWarn() << "Unknown exception caught at statistics readout";
  }
  return {};
}

void Stats_annual_supervision::init_years_and_limits(Statistics const& stats) {
  years_limits_.reserve(stats.size());
  for (auto const& [key, stat] : stats) {
    std::string const& id = stat.application_id;
    Limits budget;
    budget.soft = stat.soft_limit;
    budget.hard = stat.hard_limit;
    auto const persisted = storage_->read(id);
    years_limits_[id] = persisted ? init_further_use(id, budget, *persisted) : init_first_use(id, budget);
  }
}

Stats_annual_supervision::Years_limits Stats_annual_supervision::init_first_use(std::string const& id,
                                                                                Limits const& budget) {
  Persistent_storage_if::Entry entry;
  entry.time_of_first_use = start_time_;
  entry.years_in_use = 1;
  storage_->create(id, entry);  // no year is completed yet, so the persisted limits are zero
  Years_limits const result{entry.years_in_use, budget};
  ara::log::LogDebug() << "Init years in use:" << result.years_in_use << "acc soft limit:" << result.limits.soft
                       << "acc hard limit:" << result.limits.hard << "for application:" << id;
  return result;
}

Stats_annual_supervision::Years_limits Stats_annual_supervision::init_further_use(
    std::string const& id, Limits const& budget, Persistent_storage_if::Entry const& persisted) {
  std::uint32_t const elapsed_years = get_time_diff_in_secs(persisted.time_of_first_use) / SECONDS_PER_YEAR;
  Years_limits result{elapsed_years + 1, {}};
  // The years completed since the record was written; one at least, which is the current year when none was.
  Limits const scaled = persisted.years_in_use < elapsed_years
                            ? budget * (std::uint64_t{elapsed_years} - persisted.years_in_use + 1)
                            : budget;
  result.limits = persisted.limits + scaled;
  if (persisted.years_in_use < result.years_in_use) {
    storage_->update(id, {persisted.time_of_first_use, result.limits, result.years_in_use});
    result.limits += budget;
  } else if (persisted.years_in_use > result.years_in_use) {
    ara::log::LogWarn() << "Persisted years in use:" << persisted.years_in_use
                        << "will be used due to negative time difference";
    result.years_in_use = persisted.years_in_use;
  }
  ara::log::LogDebug() << "Set years in use:" << result.years_in_use << "acc soft limit:" << result.limits.soft
                       << "acc hard limit:" << result.limits.hard << "for application:" << id;
  return result;
}

std::vector<Stat_record> Stats_annual_supervision::convert_stats(Statistics const& stats) const {
  std::vector<Stat_record> records;
  records.reserve(stats.size());
  for (auto const& [key, stat] : stats) {
    records.push_back(create_stat_record(stat, get_years_limits(stat.application_id)));
  }
  return records;
}

Stat_record Stats_annual_supervision::create_stat_record(persistency::KVS_io_stat const& stat,
                                                         Years_limits const& years_limits) const {
  Stat_record record;
  record.application_id = stat.application_id;
  record.session_write = stat.session_write;
  record.session_setvalue = stat.session_setvalue;
  record.total_write = stat.total_write;
  record.total_setvalue = stat.total_setvalue;
  record.acc_limits = years_limits.limits;
  record.year_limits.soft = stat.soft_limit;
  record.year_limits.hard = stat.hard_limit;
  record.years_in_use = years_limits.years_in_use;
  return record;
}

Stats_annual_supervision::Years_limits Stats_annual_supervision::get_years_limits(std::string const& id) const {
  auto const found = years_limits_.find(id);
  if (found == years_limits_.end()) {
    ara::log::LogWarn() << "Missing years in use and limits for application id:" << id;
    return {};
  }
  return found->second;
}

std::uint32_t Stats_annual_supervision::get_time_diff_in_secs(std::int64_t first_use) const {
  if (start_time_ < first_use) {
    ara::log::LogWarn() << "Current time:" << start_time_
                        << "is smaller than persisted time of first use:" << first_use;
    return 0;
  }
  // Unsigned, because the difference of two signed times may not fit; only its low 32 bits count.
  return static_cast<std::uint32_t>(static_cast<std::uint64_t>(start_time_) - static_cast<std::uint64_t>(first_use));
}

}  // namespace orvel::flashwatch::diagnostics
