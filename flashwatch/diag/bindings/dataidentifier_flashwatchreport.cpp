// SPDX-License-Identifier: Apache-2.0
#include "halden/services/diag/d_17f0/dataidentifier_flashwatchreport.h"

namespace halden::services::diag::d_17f0 {

char const* DataIdentifier_FlashwatchReport::UDSServiceFailed::what() const noexcept {
  return "DataIdentifier_FlashwatchReport::UDSServiceFailed::2";
}

std::exception_ptr DataIdentifier_FlashwatchReport::Cancel::GetApplicationErrorExceptionPtr(
    std::uint8_t /*error_code*/, std::vector<std::uint8_t> const& /*payload*/) {
  return nullptr;
}

std::exception_ptr DataIdentifier_FlashwatchReport::Read::GetApplicationErrorExceptionPtr(
    std::uint8_t error_code, std::vector<std::uint8_t> const& payload) {
  if (error_code != UDSServiceFailed::code) {
    return nullptr;
  }
  return std::make_exception_ptr(UDSServiceFailed(payload));
}

DataIdentifier_FlashwatchReport::Read::Output read_read_output(tarn::com::cpp_binding::Deserializer& in) {
  DataIdentifier_FlashwatchReport::Read::Output output{};
  in.read_record([&] { output.entry_count = in.read_u8(); });
  output.report_data = in.read_bytes();
  return output;
}

void write_read_output(tarn::com::cpp_binding::Serializer& out,
                       DataIdentifier_FlashwatchReport::Read::Output const& output) {
  out.write_record([&] { out.write_u8(output.entry_count); });
  out.write_bytes(output.report_data);
}

}  // namespace halden::services::diag::d_17f0
