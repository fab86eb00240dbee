// SPDX-License-Identifier: Apache-2.0
#ifndef HALDEN_SERVICES_DIAG_D_17F2_SKELETON_DATAIDENTIFIER_EMMCBUDGETEXCEEDANCE_SKELETON_H
#define HALDEN_SERVICES_DIAG_D_17F2_SKELETON_DATAIDENTIFIER_EMMCBUDGETEXCEEDANCE_SKELETON_H

#include <map>
#include <string>

#include "ara/com/future.h"
#include "halden/services/diag/d_17f2/dataidentifier_emmcbudgetexceedance.h"
#include "orvel/com/runtime/instance_id.h"
#include "tarn/com/cpp_binding/skeleton_base.h"
#include "tarn/com/method_call_processing_mode.h"

namespace halden::services::diag::d_17f2::skeleton {

/// The server's side of DataIdentifier_EMMCBudgetExceedance. Its methods run on threads of the runtime, several at a
/// time. Withdraw it before the derived object is destroyed.
class DataIdentifier_EMMCBudgetExceedanceSkeleton : public tarn::com::cpp_binding::Skeleton_base {
 public:
  virtual ~DataIdentifier_EMMCBudgetExceedanceSkeleton() = default;

  virtual ara::com::Future<void> Cancel(std::map<std::string, std::string> const& meta_info) = 0;
  virtual ara::com::Future<DataIdentifier_EMMCBudgetExceedance::Read::Output> Read(
      std::map<std::string, std::string> const& meta_info) = 0;

 protected:
  /// Throws as Skeleton_base does.
  DataIdentifier_EMMCBudgetExceedanceSkeleton(orvel::com::runtime::Instance_id const& instance,
                                              tarn::com::Method_call_processing_mode mode);
};

}  // namespace halden::services::diag::d_17f2::skeleton

#endif
