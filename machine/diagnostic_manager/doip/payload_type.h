// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_DOIP_PAYLOAD_TYPE_H
#define MACHINE_DIAGNOSTIC_MANAGER_DOIP_PAYLOAD_TYPE_H

#include <cstdint>

namespace machine::diagnostic_manager::doip {

/// ISO 13400-2, payload types. Any other value may arrive as well.
enum class Payload_type : std::uint16_t {
  header_nack = 0x0000,
  identification_request = 0x0001,
  identification_request_by_eid = 0x0002,
  identification_request_by_vin = 0x0003,
  announcement = 0x0004,
  routing_activation_request = 0x0005,
  routing_activation_response = 0x0006,
  alive_check_request = 0x0007,
  alive_check_response = 0x0008,
  entity_status_request = 0x4001,
  entity_status_response = 0x4002,
  power_mode_request = 0x4003,
  power_mode_response = 0x4004,
  diagnostic_message = 0x8001,
  diagnostic_ack = 0x8002,
  diagnostic_nack = 0x8003,
};

}  // namespace machine::diagnostic_manager::doip

#endif
