// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_DISCOVERY_SETTINGS_H
#define PLATFORM_SRC_COM_DISCOVERY_DISCOVERY_SETTINGS_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>

#include <boost/asio/ip/address_v4.hpp>
#include <boost/asio/ip/network_v4.hpp>

#include "platform/src/manifest/node.h"

namespace linux_platform::com {

/// "communication.discovery" of the machine manifest. All nodes of a network agree on group and port.
struct Discovery_settings {
  boost::asio::ip::address_v4 group{0xE0E0E0F5};  ///< 224.224.224.245
  std::uint16_t port = 30490;                     ///< of every datagram, source and destination
  std::chrono::milliseconds initial_delay_min{0};
  std::chrono::milliseconds initial_delay_max{10};
  std::chrono::milliseconds repetitions_base_delay{30};  ///< doubles with every repetition
  std::uint32_t repetitions_max = 3;                     ///< 0 leaves the repetition phase out
  std::chrono::milliseconds cyclic_offer_delay{1000};    ///< shorter than ttl
  std::chrono::seconds ttl{3};                           ///< 0xFFFFFF: an offer lives until this node starts anew
  std::chrono::milliseconds request_response_delay_min{0};
  std::chrono::milliseconds request_response_delay_max{10};
  std::chrono::milliseconds find_window{100};  ///< how long a search waits when no offer is live
  /// Whether offers of loopback endpoints count; when not said, exactly if the own address is a loopback address.
  std::optional<bool> loopback_endpoints;
  /// The network outside of which offered endpoints are ignored; when not said, every network is good.
  std::optional<boost::asio::ip::network_v4> endpoint_network;
  /// The ids of the services that this machine knows, whose offers alone are kept; when not said, all are.
  std::optional<std::set<std::uint16_t>> services;
};

/// Reads the members that are there, keeps the defaults of the others. Throws manifest::Manifest_error for an unknown
/// member, a value out of its range, a minimum above its maximum, or a cycle that is not shorter than ttl.
Discovery_settings read_discovery_settings(manifest::Node const& discovery);

}  // namespace linux_platform::com

#endif
