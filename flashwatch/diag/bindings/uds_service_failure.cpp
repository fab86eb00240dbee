// SPDX-License-Identifier: Apache-2.0
#include "halden/services/diag/uds_service_failure.h"

#include "tarn/com/cpp_binding/deserializer.h"
#include "tarn/com/cpp_binding/serializer.h"

namespace halden::services::diag {
namespace {

tarn::dm::types::UDSResponseCodeType parse(std::vector<std::uint8_t> const& payload) {
  tarn::com::cpp_binding::Deserializer in(payload.data(), payload.size(), {});
  tarn::dm::types::UDSResponseCodeType response_code = 0;
  in.read_record([&] { response_code = in.read_u8(); });
  return response_code;
}

}  // namespace

Uds_service_failure::Uds_service_failure(std::vector<std::uint8_t> const& payload) : response_code_(parse(payload)) {}

void Uds_service_failure::serialize(std::vector<std::uint8_t>& out) const {
  tarn::com::cpp_binding::Serializer writer(out, {});
  writer.write_record([&] { writer.write_u8(response_code_); });
}

}  // namespace halden::services::diag
