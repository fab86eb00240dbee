// SPDX-License-Identifier: Apache-2.0
#ifndef HALDEN_SERVICES_DIAG_D_17F2_DATAIDENTIFIER_EMMCBUDGETEXCEEDANCE_H
#define HALDEN_SERVICES_DIAG_D_17F2_DATAIDENTIFIER_EMMCBUDGETEXCEEDANCE_H

#include <cstdint>
#include <exception>
#include <vector>

#include "halden/services/diag/uds_service_failure.h"
#include "tarn/com/cpp_binding/deserializer.h"
#include "tarn/com/cpp_binding/serializer.h"

namespace halden::services::diag::d_17f2 {

/// The interface of data identifier 0x17F2: whether any application has written more than its budget.
struct DataIdentifier_EMMCBudgetExceedance {
  static constexpr char const* name = "halden::services::diag::d_17f2::DataIdentifier_EMMCBudgetExceedance";

  /// The one application error: the reading failed, with the negative response code for the tester.
  class UDSServiceFailed final : public Uds_service_failure {
   public:
    using Uds_service_failure::Uds_service_failure;
    char const* what() const noexcept override;
  };

  /// Each method turns the application error of number `error_code` into an exception; null when it declares none such.
  struct Cancel {
    static constexpr std::uint16_t id = 0;
    static std::exception_ptr GetApplicationErrorExceptionPtr(std::uint8_t error_code,
                                                              std::vector<std::uint8_t> const& payload);
  };

  struct Read {
    static constexpr std::uint16_t id = 1;
    struct Output {
      std::uint8_t budget_exceeded;  ///< 1 when at least one application exceeds its budget, else 0
    };

    /// Throws as the error's constructor does when `payload` is malformed.
    static std::exception_ptr GetApplicationErrorExceptionPtr(std::uint8_t error_code,
                                                              std::vector<std::uint8_t> const& payload);
  };
};

/// The result on the wire: the one byte, without a length field. Throws what Deserializer throws.
DataIdentifier_EMMCBudgetExceedance::Read::Output read_read_output(tarn::com::cpp_binding::Deserializer& in);
void write_read_output(tarn::com::cpp_binding::Serializer& out,
                       DataIdentifier_EMMCBudgetExceedance::Read::Output const& output);

}  // namespace halden::services::diag::d_17f2

#endif
