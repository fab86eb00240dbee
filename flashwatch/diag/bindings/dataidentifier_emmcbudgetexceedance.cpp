// SPDX-License-Identifier: Apache-2.0
#include "halden/services/diag/d_17f2/dataidentifier_emmcbudgetexceedance.h"

namespace halden::services::diag::d_17f2 {

char const* DataIdentifier_EMMCBudgetExceedance::UDSServiceFailed::what() const noexcept {
  return "DataIdentifier_EMMCBudgetExceedance::UDSServiceFailed::2";
}

std::exception_ptr DataIdentifier_EMMCBudgetExceedance::Cancel::GetApplicationErrorExceptionPtr(
    std::uint8_t /*error_code*/, std::vector<std::uint8_t> const& /*payload*/) {
  return nullptr;
}

std::exception_ptr DataIdentifier_EMMCBudgetExceedance::Read::GetApplicationErrorExceptionPtr(
    std::uint8_t error_code, std::vector<std::uint8_t> const& payload) {
  if (error_code != UDSServiceFailed::code) {
    return nullptr;
  }
  return std::make_exception_ptr(UDSServiceFailed(payload));
}

DataIdentifier_EMMCBudgetExceedance::Read::Output read_read_output(tarn::com::cpp_binding::Deserializer& in) {
  return {in.read_u8()};
}

void write_read_output(tarn::com::cpp_binding::Serializer& out,
                       DataIdentifier_EMMCBudgetExceedance::Read::Output const& output) {
  out.write_u8(output.budget_exceeded);
}

}  // namespace halden::services::diag::d_17f2
