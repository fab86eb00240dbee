// SPDX-License-Identifier: Apache-2.0
// An error answer: message type, return code, then the payload. What it means is the same on the way there and back.
#include <exception>
#include <stdexcept>

#include "halden/services/diag/d_17f0/dataidentifier_flashwatchreport.h"
#include "halden/services/diag/d_17f2/dataidentifier_emmcbudgetexceedance.h"
#include "platform/src/com/message/outcome.h"
#include "tests/fuzz/fuzz.h"

namespace {

using namespace linux_platform::com;
using fuzz::require;
using halden::services::diag::Uds_service_failure;

std::uint8_t check_code(Reply_code reply) {
  auto const outcome = outcome_of(reply);
  if (outcome.kind == Outcome::Kind::application_error) {
    require(outcome.number >= 1 && outcome.number <= max_application_error, "errors are numbered 1 to 63");
    require(application_error_reply(outcome.number).code == reply.code, "an error keeps its number");
  } else {
    require((outcome.kind == Outcome::Kind::result) == (outcome.code == Return_code::ok), "only a result is in order");
  }
  return outcome.number;
}

template <typename Interface>
void check_method(std::uint8_t number, fuzz::Bytes const& payload) {
  require(Interface::Cancel::GetApplicationErrorExceptionPtr(number, payload) == nullptr, "Cancel declares no error");
  try {
    auto const error = Interface::Read::GetApplicationErrorExceptionPtr(number, payload);
    require((error != nullptr) == (number == Uds_service_failure::code), "Read declares one error");
    if (error != nullptr) {
      std::rethrow_exception(error);
    }
  } catch (typename Interface::UDSServiceFailed const& failure) {
    fuzz::Bytes written;
    failure.serialize(written);
    require(typename Interface::UDSServiceFailed(written).response_code() == failure.response_code(),
            "an error survives the wire");
  } catch (std::out_of_range const&) {
    require(number == Uds_service_failure::code, "only a declared error's payload is read");
  }
}

}  // namespace

void fuzz::check(Input input) {
  namespace diag = halden::services::diag;
  auto const type = Message_type{input.u8()};
  auto const number = check_code({type, Return_code{input.u8()}});
  auto const payload = input.rest();
  check_method<diag::d_17f0::DataIdentifier_FlashwatchReport>(number, payload);
  check_method<diag::d_17f2::DataIdentifier_EMMCBudgetExceedance>(number, payload);
}
