// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_DIAG_STATS_BUDGET_SKELETON_H
#define FLASHWATCH_DIAG_STATS_BUDGET_SKELETON_H

#include <map>
#include <memory>
#include <string>

#include "flashwatch/stats/stats_annual_supervision_if.h"
#include "halden/services/diag/d_17f2/skeleton/dataidentifier_emmcbudgetexceedance_skeleton.h"

namespace orvel::flashwatch::diagnostics {

/// Answers data identifier 0x17F2: whether any application has written more than its accumulated soft limit. Its
/// methods run on threads of the communication, several at a time, and keep no state between calls.
class Stats_budget_skeleton final
    : public halden::services::diag::d_17f2::skeleton::DataIdentifier_EMMCBudgetExceedanceSkeleton {
 public:
  using Interface = halden::services::diag::d_17f2::DataIdentifier_EMMCBudgetExceedance;

  /// tarn::com::Invalid_argument_exception when `own_instance_id` cannot name an instance.
  Stats_budget_skeleton(std::shared_ptr<Stats_annual_supervision_if> const& supervision,
                        std::string const& own_instance_id);

  /// Nothing to cancel: a reading is complete when Read returns.
  ara::com::Future<void> Cancel(std::map<std::string, std::string> const& meta_info) override;
  /// The future is ready; any failure is UDSServiceFailed.
  ara::com::Future<Interface::Read::Output> Read(std::map<std::string, std::string> const& meta_info) override;

 private:
  std::shared_ptr<Stats_annual_supervision_if> supervision_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
