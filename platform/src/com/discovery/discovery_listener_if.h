// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_DISCOVERY_LISTENER_IF_H
#define PLATFORM_SRC_COM_DISCOVERY_DISCOVERY_LISTENER_IF_H

#include <string>

#include <boost/asio/ip/address_v4.hpp>

#include "platform/src/com/discovery/endpoint.h"
#include "platform/src/com/discovery/service_key.h"
#include "platform/src/com/discovery/time.h"

namespace linux_platform::com {

/// Hears what the network offers. Called on the thread that runs discovery, between two datagrams or from inside
/// Discovery::offer and Discovery::withdraw; must not block and must not call back into discovery (it posts instead).
class Discovery_listener_if {
 public:
  virtual ~Discovery_listener_if() = default;
  Discovery_listener_if(Discovery_listener_if const&) = delete;
  Discovery_listener_if& operator=(Discovery_listener_if const&) = delete;

  /// A service is there, or is now at another endpoint.
  virtual void on_available(Service_key const& key, Endpoint const& endpoint) = 0;
  /// A service is gone: withdrawn, its offer expired, or its node started anew.
  virtual void on_unavailable(Service_key const& key) = 0;
  /// The node at `address` started anew since it was last heard; connections to it that are older than that lead
  /// nowhere, and younger ones may lead to the new one. on_unavailable follows for each of its services, then
  /// on_available for what it offers now.
  virtual void on_reboot(boost::asio::ip::address_v4 const& address, discovery::Time last_heard) = 0;
  /// Something an operator wants to read: a limit reached, a datagram that could not be sent. Each kind at
  /// most once a minute.
  virtual void on_trouble(std::string const& /*what*/) {}

 protected:
  Discovery_listener_if() = default;
};

}  // namespace linux_platform::com

#endif
