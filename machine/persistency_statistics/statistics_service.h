// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_PERSISTENCY_STATISTICS_STATISTICS_SERVICE_H
#define MACHINE_PERSISTENCY_STATISTICS_STATISTICS_SERVICE_H

#include "machine/persistency_statistics/statistics_report.h"
#include "orvel/com/runtime/instance_id.h"
#include "orvel/persistency/skeleton/statistics_skeleton.h"

namespace persistency_statistics {

/// The persistency statistics on the network. Withdraw it (StopOfferService) before it is destroyed.
class Statistics_service final : public orvel::persistency::skeleton::statisticsSkeleton {
 public:
  /// `report` outlives the object. Throws what the skeleton's construction throws.
  Statistics_service(orvel::com::runtime::Instance_id const& instance, Statistics_report& report);

  ara::com::Future<Statistics_report::Output> get_KVS_statistics() override;

 private:
  Statistics_report& report_;
};

}  // namespace persistency_statistics

#endif
