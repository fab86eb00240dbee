// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_RUNTIME_REMOTE_SERVICES_H
#define PLATFORM_SRC_COM_RUNTIME_REMOTE_SERVICES_H

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <boost/asio/ip/address_v4.hpp>

#include "platform/src/com/connection/client_connection.h"
#include "platform/src/com/connection/limits.h"
#include "platform/src/com/discovery/discovery_listener_if.h"

namespace linux_platform::com {

/// What the network offers at the moment and the connections there: the part of discovery's knowledge that every
/// thread may ask for. Discovery tells it what changes.
class Remote_services final : public Discovery_listener_if {
 public:
  Remote_services(boost::asio::ip::address_v4 const& local, Limits const& limits) : local_(local), limits_(limits) {}

  /// The instances of a service that are offered, in ascending order; `instance` may be any_instance.
  std::vector<std::uint16_t> offered(std::uint16_t service, std::uint8_t major, std::uint16_t instance) const;

  /// The way to an instance; null when it is not offered.
  std::shared_ptr<Client_connection> connection(std::uint16_t service, std::uint8_t major, std::uint16_t instance);

  /// Ends all connections; outstanding requests fail, no further one is accepted.
  void close();

  void on_available(Service_key const& key, Endpoint const& endpoint) override;
  void on_unavailable(Service_key const& key) override;
  void on_reboot(boost::asio::ip::address_v4 const& address, discovery::Time last_heard) override;
  void on_trouble(std::string const& what) override;

 private:
  using Identity = std::tuple<std::uint16_t, std::uint8_t, std::uint16_t>;  ///< service, major version, instance
  using Address = std::pair<std::uint32_t, std::uint16_t>;                  ///< IPv4 address and port

  static Identity identity(Service_key const& key) { return {key.service, key.major, key.instance}; }
  void let_go(Address const& where);
  static Address address(Endpoint const& endpoint) { return {endpoint.address.to_uint(), endpoint.port}; }

  boost::asio::ip::address_v4 const local_;
  Limits const limits_;

  mutable std::mutex mutex_;  ///< guards what follows
  std::map<Identity, Endpoint> offers_;
  std::map<Address, std::shared_ptr<Client_connection>> connections_;
  bool closed_ = false;
};

}  // namespace linux_platform::com

#endif
