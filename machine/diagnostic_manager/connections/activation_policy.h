// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_CONNECTIONS_ACTIVATION_POLICY_H
#define MACHINE_DIAGNOSTIC_MANAGER_CONNECTIONS_ACTIVATION_POLICY_H

#include <cstdint>

namespace machine::diagnostic_manager::connections {

/// What an activation type takes. There is neither authentication nor TLS here, so a type that wants them is refused
/// with the code that says so.
enum class Activation_policy : std::uint8_t {
  open,
  needs_authentication,
  needs_tls,
  /// The vehicle refuses its confirmation.
  rejected,
  /// The vehicle confirms after a set time; until then the connection is registered but not active.
  confirmed_later,
};

}  // namespace machine::diagnostic_manager::connections

#endif
