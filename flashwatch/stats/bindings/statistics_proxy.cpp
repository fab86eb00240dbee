// SPDX-License-Identifier: Apache-2.0
#include "orvel/persistency/proxy/statistics_proxy.h"

#include <exception>

namespace orvel::persistency::proxy {
namespace {

std::exception_ptr no_application_error(std::uint8_t /*code*/, std::vector<std::uint8_t> const& /*payload*/) {
  return nullptr;
}

}  // namespace

std::vector<statisticsProxy::HandleType> statisticsProxy::FindService(
    orvel::com::runtime::Instance_id const& instance) {
  return find(statistics::name, instance);
}

statisticsProxy::statisticsProxy(HandleType handle)
    : Proxy_base(statistics::name, handle), get_kvs_statistics_id_(method_id(statistics::get_KVS_statistics::name)) {}

ara::com::Future<statistics::get_KVS_statistics::Output> statisticsProxy::get_KVS_statistics() const {
  return call<statistics::get_KVS_statistics::Output>(
      get_kvs_statistics_id_, [](tarn::com::cpp_binding::Serializer& /*no arguments*/) {}, &read_kvs_statistics,
      &no_application_error);
}

}  // namespace orvel::persistency::proxy
