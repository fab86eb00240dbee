// SPDX-License-Identifier: Apache-2.0
#include "orvel/persistency/skeleton/statistics_skeleton.h"

namespace orvel::persistency::skeleton {

statisticsSkeleton::statisticsSkeleton(orvel::com::runtime::Instance_id const& instance,
                                       tarn::com::Method_call_processing_mode mode)
    : Skeleton_base(statistics::name, instance, mode) {
  register_method(
      method_id(statistics::get_KVS_statistics::name),
      [this](tarn::com::cpp_binding::Deserializer& /*no arguments*/, tarn::com::cpp_binding::Serializer& result) {
        return answer(get_KVS_statistics(), result, write_kvs_statistics);
      });
}

}  // namespace orvel::persistency::skeleton
