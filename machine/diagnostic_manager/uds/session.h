// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_UDS_SESSION_H
#define MACHINE_DIAGNOSTIC_MANAGER_UDS_SESSION_H

#include <cstdint>

namespace machine::diagnostic_manager::uds {

/// ISO 14229-1, the diagnostic sessions that are supported, by their sub-function value.
enum class Session : std::uint8_t { default_session = 0x01, extended = 0x03 };

}  // namespace machine::diagnostic_manager::uds

#endif
