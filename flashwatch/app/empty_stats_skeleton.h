// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_EMPTY_STATS_SKELETON_H
#define FLASHWATCH_APP_EMPTY_STATS_SKELETON_H

#include "flashwatch/diag/stats_skeleton_if.h"

namespace orvel::flashwatch::diagnostics {

/// Stands in when no instance identifier is configured: no diagnostic service exists.
class Empty_stats_skeleton final : public Stats_skeleton_if {
 public:
  void offer_services() override {}
  void stop_offer_services() override {}
};

}  // namespace orvel::flashwatch::diagnostics

#endif
