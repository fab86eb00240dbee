// SPDX-License-Identifier: Apache-2.0
#include "halden/services/diag/d_17f0/proxy/dataidentifier_flashwatchreport_proxy.h"

#include "halden/services/diag/meta_info.h"

namespace halden::services::diag::d_17f0::proxy {

using tarn::com::cpp_binding::Deserializer;
using tarn::com::cpp_binding::Serializer;

std::vector<DataIdentifier_FlashwatchReportProxy::HandleType> DataIdentifier_FlashwatchReportProxy::FindService(
    orvel::com::runtime::Instance_id const& instance) {
  return find(DataIdentifier_FlashwatchReport::name, instance);
}

DataIdentifier_FlashwatchReportProxy::DataIdentifier_FlashwatchReportProxy(HandleType handle)
    : Proxy_base(DataIdentifier_FlashwatchReport::name, handle) {}

ara::com::Future<void> DataIdentifier_FlashwatchReportProxy::Cancel(
    std::map<std::string, std::string> const& meta_info) const {
  return call<void>(
      DataIdentifier_FlashwatchReport::Cancel::id, [&](Serializer& out) { write_meta_info(out, meta_info); },
      [](Deserializer& /*no result*/) {}, &DataIdentifier_FlashwatchReport::Cancel::GetApplicationErrorExceptionPtr);
}

ara::com::Future<DataIdentifier_FlashwatchReport::Read::Output> DataIdentifier_FlashwatchReportProxy::Read(
    std::map<std::string, std::string> const& meta_info) const {
  return call<DataIdentifier_FlashwatchReport::Read::Output>(
      DataIdentifier_FlashwatchReport::Read::id, [&](Serializer& out) { write_meta_info(out, meta_info); },
      &read_read_output, &DataIdentifier_FlashwatchReport::Read::GetApplicationErrorExceptionPtr);
}

}  // namespace halden::services::diag::d_17f0::proxy
