// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_CONNECTIONS_CONNECTION_CONFIG_H
#define MACHINE_DIAGNOSTIC_MANAGER_CONNECTIONS_CONNECTION_CONFIG_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>

#include "machine/diagnostic_manager/connections/activation_policy.h"
#include "machine/diagnostic_manager/doip/header.h"
#include "machine/diagnostic_manager/uds/server.h"

namespace machine::diagnostic_manager::connections {

/// What all testers' connections have in common. The addresses are DoIP logical addresses.
struct Connection_config {
  std::uint16_t logical_address = 0x1001;
  std::uint16_t functional_address = 0xE400;
  /// The testers that may activate routing, both ends included.
  std::uint16_t first_tester = 0x0E00;
  std::uint16_t last_tester = 0x0FFF;
  std::map<std::uint8_t, Activation_policy> activation_types{{0x00, Activation_policy::open},
                                                             {0x01, Activation_policy::open}};
  std::chrono::milliseconds confirmation_delay{1000};
  /// T_TCP_Initial_Inactivity: from accepting until routing is asked for.
  std::chrono::milliseconds initial_inactivity{2000};
  /// T_TCP_General_Inactivity: no message in either direction.
  std::chrono::milliseconds general_inactivity{300000};
  /// The longest payload of a message (MDS), and the longest UDS request in it, in bytes.
  std::uint32_t max_data_size = 4096;
  std::size_t max_request = 1024;
  /// For messages that no request asked for, before the tester has shown which version it speaks.
  std::uint8_t protocol_version = doip::version_2012;
  uds::Server::Config uds;
};

}  // namespace machine::diagnostic_manager::connections

#endif
