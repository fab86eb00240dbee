// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/connection/client_request.h"

#include <exception>

#include "platform/src/com/message/outcome.h"
#include "tarn/com/exceptions.h"

namespace linux_platform::com {

void Client_request::finish(Message_view const& answer) const {
  Outcome const outcome = outcome_of({answer.header.type, answer.header.code});
  try {
    switch (outcome.kind) {
      case Outcome::Kind::result: {
        tarn::com::cpp_binding::Deserializer payload(answer.payload, answer.payload_size, service->format);
        reply->result(payload);
        break;
      }
      case Outcome::Kind::application_error:
        if (!reply->error(outcome.number, {answer.payload, answer.payload + answer.payload_size})) {
          fail(Return_code::not_ok,
               "answered with application error " + std::to_string(outcome.number) + ", which it does not declare");
        }
        break;
      case Outcome::Kind::communication_error:
        fail(outcome.code,
             "answered with return code " + std::to_string(static_cast<unsigned>(outcome.code)) + " of SOME/IP");
        break;
    }
  } catch (std::exception const& error) {
    fail(Return_code::malformed_message, std::string("answered with a malformed message: ") + error.what());
  }
}

void Client_request::fail(Return_code code, std::string const& what) const {
  reply->failure(std::make_exception_ptr(
      tarn::com::Transport_exception(static_cast<std::uint8_t>(code), service->describe(method) + ": " + what)));
}

void Client_request::expire() const {
  fail(Return_code::timeout, "no answer within " + std::to_string(response_time.count()) + " ms");
}

void Client_request::unavailable(std::string const& what) const {
  reply->failure(
      std::make_exception_ptr(tarn::com::Service_not_available_exception(service->describe(method) + ": " + what)));
}

}  // namespace linux_platform::com
