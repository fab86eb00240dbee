// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_DOIP_ACTIVATION_CODE_H
#define MACHINE_DIAGNOSTIC_MANAGER_DOIP_ACTIVATION_CODE_H

#include <cstdint>

namespace machine::diagnostic_manager::doip {

/// ISO 13400-2, routing activation response codes.
enum class Activation_code : std::uint8_t {
  unknown_source_address = 0x00,
  all_sockets_active = 0x01,
  other_address_on_socket = 0x02,
  address_on_other_socket = 0x03,
  authentication_missing = 0x04,
  confirmation_rejected = 0x05,
  unsupported_type = 0x06,
  tls_required = 0x07,
  activated = 0x10,
  confirmation_required = 0x11,
};

}  // namespace machine::diagnostic_manager::doip

#endif
