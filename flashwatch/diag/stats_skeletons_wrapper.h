// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_DIAG_STATS_SKELETONS_WRAPPER_H
#define FLASHWATCH_DIAG_STATS_SKELETONS_WRAPPER_H

#include <memory>
#include <string>

#include "flashwatch/diag/stats_adaptive_skeleton.h"
#include "flashwatch/diag/stats_budget_skeleton.h"
#include "flashwatch/diag/stats_skeleton_if.h"

namespace orvel::flashwatch::diagnostics {

/// Both diagnostic services under one instance identifier, offered and withdrawn together: 0x17F0, then 0x17F2.
class Stats_skeletons_wrapper final : public Stats_skeleton_if {
 public:
  /// tarn::com::Invalid_argument_exception when `own_instance_id` cannot name an instance.
  Stats_skeletons_wrapper(std::shared_ptr<Stats_annual_supervision_if> const& supervision,
                          std::shared_ptr<Stats_logger_if> const& logger,
                          std::shared_ptr<Application_scid_converter_if> const& scid_converter,
                          std::string const& own_instance_id);

  void offer_services() override;
  void stop_offer_services() override;

 private:
  Stats_adaptive_skeleton report_;
  Stats_budget_skeleton budget_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
