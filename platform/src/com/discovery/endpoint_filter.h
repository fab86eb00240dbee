// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_ENDPOINT_FILTER_H
#define PLATFORM_SRC_COM_DISCOVERY_ENDPOINT_FILTER_H

#include <optional>
#include <vector>

#include <boost/asio/ip/address_v4.hpp>
#include <boost/asio/ip/network_v4.hpp>

#include "platform/src/com/discovery/discovery_settings.h"
#include "platform/src/com/discovery/endpoint.h"
#include "platform/src/com/discovery/message.h"

namespace linux_platform::com::discovery {

/// Which endpoints of an offer are believed: a lie here would make this process connect to itself or to nowhere.
class Endpoint_filter final {
 public:
  Endpoint_filter(Discovery_settings const& settings, boost::asio::ip::address_v4 const& own);

  /// The TCP endpoint of an offer; nothing when the offer has none, two different ones of one protocol, or one that
  /// no peer can be reached at.
  std::optional<Endpoint> tcp_endpoint(std::vector<Endpoint_option> const& options) const;

 private:
  bool believable(Endpoint_option const& option) const;

  boost::asio::ip::address_v4 own_;
  bool loopback_;
  std::optional<boost::asio::ip::network_v4> network_;
};

}  // namespace linux_platform::com::discovery

#endif
