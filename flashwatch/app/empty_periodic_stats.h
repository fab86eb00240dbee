// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_EMPTY_PERIODIC_STATS_H
#define FLASHWATCH_APP_EMPTY_PERIODIC_STATS_H

#include "flashwatch/reporting/periodic_stats_if.h"

namespace orvel::flashwatch::diagnostics {

/// Stands in when periodic logging is disabled.
class Empty_periodic_stats final : public Periodic_stats_if {
 public:
  void log_stats() override {}
};

}  // namespace orvel::flashwatch::diagnostics

#endif
