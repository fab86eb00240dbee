// SPDX-License-Identifier: Apache-2.0
#ifndef HALDEN_SERVICES_DIAG_UDS_SERVICE_FAILURE_H
#define HALDEN_SERVICES_DIAG_UDS_SERVICE_FAILURE_H

#include <cstdint>
#include <vector>

#include "tarn/com/cpp_binding/application_error_exception.h"
#include "tarn/dm/types/uds_response_code_type.h"

namespace halden::services::diag {

/// What the UDSServiceFailed errors of the data identifier interfaces share: the negative response code for the tester
/// and its wire form, a record (4-byte length) holding that one byte. Each interface derives its own type.
class Uds_service_failure : public tarn::com::cpp_binding::Application_error_exception {
 public:
  static constexpr std::uint8_t code = 2;

  explicit Uds_service_failure(tarn::dm::types::UDSResponseCodeType response_code) noexcept
      : response_code_(response_code) {}

  /// Parses the wire form; members that a newer sender appended are skipped. std::out_of_range or std::overflow_error
  /// with the deserializer's text when it is malformed.
  explicit Uds_service_failure(std::vector<std::uint8_t> const& payload);

  std::uint8_t error_code() const noexcept override { return code; }
  void serialize(std::vector<std::uint8_t>& out) const override;

  tarn::dm::types::UDSResponseCodeType response_code() const noexcept { return response_code_; }

 private:
  tarn::dm::types::UDSResponseCodeType response_code_;
};

}  // namespace halden::services::diag

#endif
