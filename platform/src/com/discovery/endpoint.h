// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_ENDPOINT_H
#define PLATFORM_SRC_COM_DISCOVERY_ENDPOINT_H

#include <cstdint>

#include <boost/asio/ip/address_v4.hpp>

#include "platform/src/com/discovery/service_key.h"

namespace linux_platform::com {

/// An address and a port. That of a service is a TCP one: this platform speaks no other transport to services.
struct Endpoint {
  boost::asio::ip::address_v4 address;
  std::uint16_t port = 0;

  friend bool operator==(Endpoint const& a, Endpoint const& b) noexcept {
    return a.address == b.address && a.port == b.port;
  }
  friend bool operator!=(Endpoint const& a, Endpoint const& b) noexcept { return !(a == b); }
};

/// One live offer.
struct Found {
  Service_key key;
  Endpoint endpoint;
};

}  // namespace linux_platform::com

#endif
