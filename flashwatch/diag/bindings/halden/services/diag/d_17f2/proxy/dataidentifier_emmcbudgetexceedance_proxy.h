// SPDX-License-Identifier: Apache-2.0
#ifndef HALDEN_SERVICES_DIAG_D_17F2_PROXY_DATAIDENTIFIER_EMMCBUDGETEXCEEDANCE_PROXY_H
#define HALDEN_SERVICES_DIAG_D_17F2_PROXY_DATAIDENTIFIER_EMMCBUDGETEXCEEDANCE_PROXY_H

#include <map>
#include <string>
#include <vector>

#include "ara/com/future.h"
#include "halden/services/diag/d_17f2/dataidentifier_emmcbudgetexceedance.h"
#include "orvel/com/runtime/instance_id.h"
#include "tarn/com/cpp_binding/proxy_base.h"

namespace halden::services::diag::d_17f2::proxy {

/// The reader's side of DataIdentifier_EMMCBudgetExceedance. Any thread may call; for the failures of the futures see
/// Proxy_base::call.
class DataIdentifier_EMMCBudgetExceedanceProxy : private tarn::com::cpp_binding::Proxy_base {
 public:
  using HandleType = tarn::com::cpp_binding::Service_handle;

  /// The instances that are offered; waits up to the find window when none is known yet. Throws as Proxy_base::find.
  static std::vector<HandleType> FindService(orvel::com::runtime::Instance_id const& instance);

  explicit DataIdentifier_EMMCBudgetExceedanceProxy(HandleType handle);

  using Proxy_base::connected;

  ara::com::Future<void> Cancel(std::map<std::string, std::string> const& meta_info) const;
  ara::com::Future<DataIdentifier_EMMCBudgetExceedance::Read::Output> Read(
      std::map<std::string, std::string> const& meta_info) const;
};

}  // namespace halden::services::diag::d_17f2::proxy

#endif
