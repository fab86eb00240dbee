// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_DOIP_DIAGNOSTIC_NACK_H
#define MACHINE_DIAGNOSTIC_MANAGER_DOIP_DIAGNOSTIC_NACK_H

#include <cstdint>

namespace machine::diagnostic_manager::doip {

/// ISO 13400-2, diagnostic message negative acknowledge codes that an entity which is no gateway can give.
enum class Diagnostic_nack : std::uint8_t {
  invalid_source_address = 0x02,
  unknown_target_address = 0x03,
  message_too_large = 0x04,
  out_of_memory = 0x05,
};

}  // namespace machine::diagnostic_manager::doip

#endif
