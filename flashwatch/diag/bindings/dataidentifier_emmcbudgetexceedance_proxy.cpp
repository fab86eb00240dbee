// SPDX-License-Identifier: Apache-2.0
#include "halden/services/diag/d_17f2/proxy/dataidentifier_emmcbudgetexceedance_proxy.h"

#include "halden/services/diag/meta_info.h"

namespace halden::services::diag::d_17f2::proxy {

using tarn::com::cpp_binding::Deserializer;
using tarn::com::cpp_binding::Serializer;

std::vector<DataIdentifier_EMMCBudgetExceedanceProxy::HandleType> DataIdentifier_EMMCBudgetExceedanceProxy::FindService(
    orvel::com::runtime::Instance_id const& instance) {
  return find(DataIdentifier_EMMCBudgetExceedance::name, instance);
}

DataIdentifier_EMMCBudgetExceedanceProxy::DataIdentifier_EMMCBudgetExceedanceProxy(HandleType handle)
    : Proxy_base(DataIdentifier_EMMCBudgetExceedance::name, handle) {}

ara::com::Future<void> DataIdentifier_EMMCBudgetExceedanceProxy::Cancel(
    std::map<std::string, std::string> const& meta_info) const {
  return call<void>(
      DataIdentifier_EMMCBudgetExceedance::Cancel::id, [&](Serializer& out) { write_meta_info(out, meta_info); },
      [](Deserializer& /*no result*/) {},
      &DataIdentifier_EMMCBudgetExceedance::Cancel::GetApplicationErrorExceptionPtr);
}

ara::com::Future<DataIdentifier_EMMCBudgetExceedance::Read::Output> DataIdentifier_EMMCBudgetExceedanceProxy::Read(
    std::map<std::string, std::string> const& meta_info) const {
  return call<DataIdentifier_EMMCBudgetExceedance::Read::Output>(
      DataIdentifier_EMMCBudgetExceedance::Read::id, [&](Serializer& out) { write_meta_info(out, meta_info); },
      &read_read_output, &DataIdentifier_EMMCBudgetExceedance::Read::GetApplicationErrorExceptionPtr);
}

}  // namespace halden::services::diag::d_17f2::proxy
