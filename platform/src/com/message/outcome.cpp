// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/message/outcome.h"

namespace linux_platform::com {
namespace {

// Return code of application error N minus N.
constexpr unsigned application_error_offset = 0x1F;

}  // namespace

Reply_code application_error_reply(std::uint8_t number) noexcept {
  if (number == 0 || number > max_application_error) {
    return {Message_type::error, Return_code::not_ok};
  }
  return {Message_type::error, Return_code{static_cast<std::uint8_t>(application_error_offset + number)}};
}

Outcome outcome_of(Reply_code reply) noexcept {
  if (reply.code == Return_code::ok) {
    return reply.type == Message_type::response ? Outcome{}
                                                : Outcome{Outcome::Kind::communication_error, 0, Return_code::not_ok};
  }
  auto const code = static_cast<std::uint8_t>(reply.code);
  if (code > application_error_offset && code <= application_error_offset + max_application_error) {
    return {Outcome::Kind::application_error, static_cast<std::uint8_t>(code - application_error_offset), reply.code};
  }
  return {Outcome::Kind::communication_error, 0, reply.code};
}

}  // namespace linux_platform::com
