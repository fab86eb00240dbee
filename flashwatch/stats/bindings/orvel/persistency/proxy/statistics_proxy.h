// SPDX-License-Identifier: Apache-2.0
#ifndef ORVEL_PERSISTENCY_PROXY_STATISTICS_PROXY_H
#define ORVEL_PERSISTENCY_PROXY_STATISTICS_PROXY_H

#include <cstdint>
#include <vector>

#include "ara/com/future.h"
#include "orvel/com/runtime/instance_id.h"
#include "orvel/persistency/statistics.h"
#include "tarn/com/cpp_binding/proxy_base.h"

namespace orvel::persistency::proxy {

/// The client's side of one instance of the persistency statistics service.
class statisticsProxy : private tarn::com::cpp_binding::Proxy_base {
 public:
  using HandleType = tarn::com::cpp_binding::Service_handle;

  /// The instances that are offered; waits up to the find window when none is known yet. Throws as Proxy_base::find.
  static std::vector<HandleType> FindService(orvel::com::runtime::Instance_id const& instance);

  explicit statisticsProxy(HandleType handle);

  /// Any thread may call. For the failures of the future see Proxy_base::call.
  ara::com::Future<statistics::get_KVS_statistics::Output> get_KVS_statistics() const;

 private:
  std::uint16_t const get_kvs_statistics_id_;
};

}  // namespace orvel::persistency::proxy

#endif
