// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_DOIP_HEADER_NACK_H
#define MACHINE_DIAGNOSTIC_MANAGER_DOIP_HEADER_NACK_H

#include <cstdint>

namespace machine::diagnostic_manager::doip {

/// ISO 13400-2, generic header negative acknowledge codes, in the order in which a header is checked.
enum class Header_nack : std::uint8_t {
  incorrect_pattern = 0x00,
  unknown_payload_type = 0x01,
  message_too_large = 0x02,
  out_of_memory = 0x03,
  invalid_payload_length = 0x04,
};

/// Whether a connection is closed after it was told `code`: what follows on it could not be understood.
constexpr bool ends_connection(Header_nack code) noexcept {
  return code == Header_nack::incorrect_pattern || code == Header_nack::invalid_payload_length;
}

}  // namespace machine::diagnostic_manager::doip

#endif
