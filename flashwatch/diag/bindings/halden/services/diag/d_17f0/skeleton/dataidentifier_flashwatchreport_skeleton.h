// SPDX-License-Identifier: Apache-2.0
#ifndef HALDEN_SERVICES_DIAG_D_17F0_SKELETON_DATAIDENTIFIER_FLASHWATCHREPORT_SKELETON_H
#define HALDEN_SERVICES_DIAG_D_17F0_SKELETON_DATAIDENTIFIER_FLASHWATCHREPORT_SKELETON_H

#include <map>
#include <string>

#include "ara/com/future.h"
#include "halden/services/diag/d_17f0/dataidentifier_flashwatchreport.h"
#include "orvel/com/runtime/instance_id.h"
#include "tarn/com/cpp_binding/skeleton_base.h"
#include "tarn/com/method_call_processing_mode.h"

namespace halden::services::diag::d_17f0::skeleton {

/// The server's side of DataIdentifier_FlashwatchReport. Its methods run on threads of the runtime, several at a
/// time. Withdraw it before the derived object is destroyed.
class DataIdentifier_FlashwatchReportSkeleton : public tarn::com::cpp_binding::Skeleton_base {
 public:
  virtual ~DataIdentifier_FlashwatchReportSkeleton() = default;

  virtual ara::com::Future<void> Cancel(std::map<std::string, std::string> const& meta_info) = 0;
  virtual ara::com::Future<DataIdentifier_FlashwatchReport::Read::Output> Read(
      std::map<std::string, std::string> const& meta_info) = 0;

 protected:
  /// Throws as Skeleton_base does.
  DataIdentifier_FlashwatchReportSkeleton(orvel::com::runtime::Instance_id const& instance,
                                          tarn::com::Method_call_processing_mode mode);
};

}  // namespace halden::services::diag::d_17f0::skeleton

#endif
