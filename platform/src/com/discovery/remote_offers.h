// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_REMOTE_OFFERS_H
#define PLATFORM_SRC_COM_DISCOVERY_REMOTE_OFFERS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <tuple>
#include <vector>

#include <boost/asio/ip/address_v4.hpp>

#include "platform/src/com/discovery/discovery_listener_if.h"
#include "platform/src/com/discovery/endpoint.h"
#include "platform/src/com/discovery/time.h"

namespace linux_platform::com::discovery {

/// What the network offers. One node owns an instance: while its offer lives, offers of others for it are ignored.
/// Changes are told to the listener by settle(), so that a stop and a new offer in one message cancel out.
class Remote_offers final {
 public:
  static constexpr std::size_t max_offers = 1024;

  explicit Remote_offers(Discovery_listener_if& listener) : listener_(listener) {}

  /// Takes an offer of `owner`, or re-arms its lifetime; without `expires` it lives until the owner starts anew.
  /// False when the table is full.
  bool add(Found const& offer, boost::asio::ip::address_v4 const& owner, std::optional<Time> const& expires);
  /// The owner withdrew it.
  void remove(Service_key const& key, boost::asio::ip::address_v4 const& owner);
  /// It is offered here now, whoever offered it before.
  void remove(Service_key const& key);
  /// Everything of one owner goes.
  void forget(boost::asio::ip::address_v4 const& owner);
  void expire(Time now);
  /// Tells the listener what changed since the last call.
  void settle();

  std::optional<Time> next_expiry() const;
  std::vector<Found> matching(Service_key const& wanted) const;

 private:
  /// A minor version is a property of an instance, not a part of its identity.
  using Identity = std::tuple<std::uint16_t, std::uint16_t, std::uint8_t>;
  struct Offer {
    Found found;
    boost::asio::ip::address_v4 owner;
    std::optional<Time> expires;
  };
  using Offers = std::map<Identity, Offer>;

  static Identity identity(Service_key const& key) { return {key.service, key.instance, key.major}; }
  std::optional<Found> now_offered(Identity const& identity) const;
  void note_before(Identity const& identity);
  template <typename Condition>
  void remove_if(Condition const& condition);

  Discovery_listener_if& listener_;
  Offers offers_;
  std::map<Identity, std::optional<Found>> before_;  ///< of everything touched since the last settle()
};

}  // namespace linux_platform::com::discovery

#endif
