// SPDX-License-Identifier: Apache-2.0
#include "halden/services/diag/d_17f0/skeleton/dataidentifier_flashwatchreport_skeleton.h"

#include "halden/services/diag/meta_info.h"

namespace halden::services::diag::d_17f0::skeleton {

using tarn::com::cpp_binding::Deserializer;
using tarn::com::cpp_binding::Serializer;

DataIdentifier_FlashwatchReportSkeleton::DataIdentifier_FlashwatchReportSkeleton(
    orvel::com::runtime::Instance_id const& instance, tarn::com::Method_call_processing_mode mode)
    : Skeleton_base(DataIdentifier_FlashwatchReport::name, instance, mode) {
  register_method(DataIdentifier_FlashwatchReport::Cancel::id,
                  [this](Deserializer& arguments, Serializer& /*no result*/) {
                    Cancel(read_meta_info(arguments)).get();
                    return nullptr;
                  });
  register_method(DataIdentifier_FlashwatchReport::Read::id, [this](Deserializer& arguments, Serializer& result) {
    return answer(Read(read_meta_info(arguments)), result, write_read_output);
  });
}

}  // namespace halden::services::diag::d_17f0::skeleton
