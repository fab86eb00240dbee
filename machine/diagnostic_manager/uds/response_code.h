// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_UDS_RESPONSE_CODE_H
#define MACHINE_DIAGNOSTIC_MANAGER_UDS_RESPONSE_CODE_H

#include <cstdint>

namespace machine::diagnostic_manager::uds {

/// ISO 14229-1, negative response codes. A service behind an identifier may give any other value.
enum class Response_code : std::uint8_t {
  general_reject = 0x10,
  service_not_supported = 0x11,
  sub_function_not_supported = 0x12,
  incorrect_length_or_format = 0x13,
  response_too_long = 0x14,
  busy_repeat_request = 0x21,
  conditions_not_correct = 0x22,
  request_out_of_range = 0x31,
  response_pending = 0x78,
  sub_function_not_supported_in_session = 0x7E,
  service_not_supported_in_session = 0x7F,
};

/// Codes by which a server only says that it is not the one meant: one that was addressed together with all others
/// keeps them to itself.
constexpr bool is_silent_when_functional(Response_code code) noexcept {
  return code == Response_code::service_not_supported || code == Response_code::sub_function_not_supported ||
         code == Response_code::request_out_of_range || code == Response_code::sub_function_not_supported_in_session ||
         code == Response_code::service_not_supported_in_session;
}

}  // namespace machine::diagnostic_manager::uds

#endif
