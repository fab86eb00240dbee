// SPDX-License-Identifier: Apache-2.0
#ifndef ORVEL_PERSISTENCY_SKELETON_STATISTICS_SKELETON_H
#define ORVEL_PERSISTENCY_SKELETON_STATISTICS_SKELETON_H

#include "ara/com/future.h"
#include "orvel/com/runtime/instance_id.h"
#include "orvel/persistency/statistics.h"
#include "tarn/com/cpp_binding/skeleton_base.h"
#include "tarn/com/method_call_processing_mode.h"

namespace orvel::persistency::skeleton {

/// The server's side of the persistency statistics service. Withdraw it before the derived object is destroyed.
class statisticsSkeleton : public tarn::com::cpp_binding::Skeleton_base {
 public:
  virtual ~statisticsSkeleton() = default;

  /// Runs on threads of the runtime, several at a time.
  virtual ara::com::Future<statistics::get_KVS_statistics::Output> get_KVS_statistics() = 0;

 protected:
  /// Throws as Skeleton_base does.
  statisticsSkeleton(orvel::com::runtime::Instance_id const& instance, tarn::com::Method_call_processing_mode mode);
};

}  // namespace orvel::persistency::skeleton

#endif
