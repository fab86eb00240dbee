// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_STATS_STAT_RECORD_H
#define FLASHWATCH_STATS_STAT_RECORD_H

#include <cstdint>
#include <string>

#include "flashwatch/stats/limits.h"

namespace orvel::flashwatch::diagnostics {

/// One application's writes beside its budget.
struct Stat_record {
  std::string application_id;
  std::uint64_t session_write = 0;
  std::uint64_t session_setvalue = 0;
  std::uint64_t total_write = 0;
  std::uint64_t total_setvalue = 0;
  Limits acc_limits;               ///< the budget of all years of use up to and including the current one
  Limits year_limits;              ///< the budget of one year
  std::uint32_t years_in_use = 0;  ///< 1 in the first year; 0 when the application's years are not known
};

}  // namespace orvel::flashwatch::diagnostics

#endif
