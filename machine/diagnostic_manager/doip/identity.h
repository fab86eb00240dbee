// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_DOIP_IDENTITY_H
#define MACHINE_DIAGNOSTIC_MANAGER_DOIP_IDENTITY_H

#include <array>
#include <cstdint>

namespace machine::diagnostic_manager::doip {

/// Who this entity is to a tester.
struct Identity {
  std::array<std::uint8_t, 17> vin{};
  std::array<std::uint8_t, 6> eid{};
  std::array<std::uint8_t, 6> gid{};
  std::uint16_t logical_address = 0;
};

}  // namespace machine::diagnostic_manager::doip

#endif
