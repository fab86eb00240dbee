// SPDX-License-Identifier: Apache-2.0
#include "machine/persistency_statistics/statistics_service.h"

#include "tarn/com/method_call_processing_mode.h"

namespace persistency_statistics {

Statistics_service::Statistics_service(orvel::com::runtime::Instance_id const& instance, Statistics_report& report)
    : statisticsSkeleton(instance, tarn::com::Method_call_processing_mode::kEvent), report_(report) {}

ara::com::Future<Statistics_report::Output> Statistics_service::get_KVS_statistics() {
  ara::com::Promise<Statistics_report::Output> answer;
  answer.set_value(report_.now());
  return answer.get_future();
}

}  // namespace persistency_statistics
