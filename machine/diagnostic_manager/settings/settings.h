// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_SETTINGS_SETTINGS_H
#define MACHINE_DIAGNOSTIC_MANAGER_SETTINGS_SETTINGS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include <boost/asio/ip/address_v4.hpp>

#include "machine/diagnostic_manager/connections/connection_config.h"
#include "machine/diagnostic_manager/doip/udp_entity.h"
#include "machine/diagnostic_manager/server/tcp_link.h"
#include "machine/diagnostic_manager/server/udp_server.h"
#include "platform/src/manifest/node.h"

namespace machine::diagnostic_manager {

/// Everything that the machine manifest says of the diagnostic manager.
struct Settings {
  boost::asio::ip::address_v4 address;
  std::uint16_t port = 13400;
  /// The instance of the two data identifier services.
  std::string report_instance = "flashwatch_diagnostics";
  /// T_TCP_Alive_Check.
  std::chrono::milliseconds alive_check_time{500};
  /// For messages that are arriving, of all testers together, in bytes.
  std::size_t receive_memory = 262144;
  connections::Connection_config connection;
  doip::Udp_entity::Config entity;
  server::Udp_server::Config udp;
  server::Tcp_link::Limits link;
};

/// Reads "diagnostics" of the manifest's `root`. `own_address` is the process's address, where it listens unless the
/// manifest says otherwise. Throws linux_platform::manifest::Manifest_error.
Settings read_settings(linux_platform::manifest::Node const& root, std::string const& own_address);

}  // namespace machine::diagnostic_manager

#endif
