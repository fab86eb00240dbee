// SPDX-License-Identifier: Apache-2.0
#ifndef BENCH_STATISTICS_SAMPLE_H
#define BENCH_STATISTICS_SAMPLE_H

#include <cstddef>
#include <string>

#include "orvel/persistency/statistics.h"

namespace bench {

using Statistics = orvel::persistency::statistics::get_KVS_statistics::Output;

/// Figures of so many applications.
inline Statistics sample_statistics(std::size_t applications) {
  Statistics made;
  for (std::size_t i = 0; i < applications; ++i) {
    auto const number = std::to_string(i);
    auto const id = "vehicle_application_" + std::string(5 - std::min<std::size_t>(5, number.size()), '0') + number;
    made[id] = {id, i, 2 * i, 3 * i, 1000 + i, 2000 + i, 3000 + i, 1U << 20U, 1U << 24U};
  }
  return made;
}

}  // namespace bench

#endif
