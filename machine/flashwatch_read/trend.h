// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_TREND_H
#define MACHINE_FLASHWATCH_READ_TREND_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "machine/flashwatch_read/report.h"

namespace flashwatch_read {

/// What one application wrote between two readings.
struct Trend {
  std::uint64_t written = 0;            ///< bytes
  std::chrono::nanoseconds elapsed{1};  ///< more than 0
};

/// Bytes per second, rounded down, at most 2^64 - 1.
std::uint64_t rate_of(Trend const& trend) noexcept;

/// Seconds, rounded down and at most 2^64 - 1, until `left` bytes more are written at this rate; none at rate 0.
std::optional<std::uint64_t> seconds_until_written(Trend const& trend, std::uint64_t left) noexcept;

/// One trend for each entry of `now`, in its order. An application is recognised by its SCID; where several share one,
/// by its place among them, as long as there are as many as before. There is no trend for an application that is new,
/// whose total fell (its storage began anew), or when no time has passed.
std::vector<std::optional<Trend>> trends_between(Reading const& before, Reading const& now);

}  // namespace flashwatch_read

#endif
