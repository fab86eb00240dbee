// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/trend.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <map>

#include "machine/flashwatch_read/wide.h"

namespace flashwatch_read {
namespace {

constexpr Wide nanoseconds_per_second = 1'000'000'000;

std::uint64_t saturated(Wide value) noexcept {
  constexpr Wide largest = std::numeric_limits<std::uint64_t>::max();
  return static_cast<std::uint64_t>(std::min(value, largest));
}

/// The totals of all entries with one SCID, in the order of the report.
std::map<std::uint64_t, std::vector<std::uint64_t>> totals_by_scid(Report const& report) {
  std::map<std::uint64_t, std::vector<std::uint64_t>> totals;
  for (auto const& entry : report.entries) {
    totals[entry.scid].push_back(entry.total_write);
  }
  return totals;
}

}  // namespace

std::uint64_t rate_of(Trend const& trend) noexcept {
  return saturated(trend.written * nanoseconds_per_second / static_cast<Wide>(trend.elapsed.count()));
}

std::optional<std::uint64_t> seconds_until_written(Trend const& trend, std::uint64_t left) noexcept {
  if (trend.written == 0) {
    return std::nullopt;
  }
  return saturated(left * static_cast<Wide>(trend.elapsed.count()) / trend.written / nanoseconds_per_second);
}

std::vector<std::optional<Trend>> trends_between(Reading const& before, Reading const& now) {
  std::vector<std::optional<Trend>> trends(now.report.entries.size());
  auto const elapsed = std::chrono::duration_cast<std::chrono::nanoseconds>(now.taken - before.taken);
  if (elapsed.count() <= 0) {
    return trends;
  }
  auto const old_totals = totals_by_scid(before.report);
  auto const new_totals = totals_by_scid(now.report);
  std::map<std::uint64_t, std::size_t> seen;
  for (std::size_t i = 0; i < trends.size(); ++i) {
    auto const& entry = now.report.entries[i];
    auto const place = seen[entry.scid]++;
    auto const old = old_totals.find(entry.scid);
    if (old == old_totals.end() || old->second.size() != new_totals.at(entry.scid).size() ||
        entry.total_write < old->second[place]) {
      continue;
    }
    trends[i] = Trend{entry.total_write - old->second[place], elapsed};
  }
  return trends;
}

}  // namespace flashwatch_read
