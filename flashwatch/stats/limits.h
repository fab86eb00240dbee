// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_STATS_LIMITS_H
#define FLASHWATCH_STATS_LIMITS_H

#include <cstdint>

namespace orvel::flashwatch::diagnostics {

/// A write budget, in the unit of the statistics service's write counters. Arithmetic works on each limit by itself and
/// stops at 2^64 - 1 with a warning for each limit that would exceed it.
struct Limits {
  std::uint64_t soft = 0;
  std::uint64_t hard = 0;

  Limits operator+(Limits const& other) const;
  Limits& operator+=(Limits const& other);
  Limits operator*(std::uint64_t factor) const;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
