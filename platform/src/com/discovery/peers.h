// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_PEERS_H
#define PLATFORM_SRC_COM_DISCOVERY_PEERS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>

#include <boost/asio/ip/address_v4.hpp>

#include "platform/src/com/discovery/reboot_detector.h"
#include "platform/src/com/discovery/session_counter.h"
#include "platform/src/com/discovery/time.h"

namespace linux_platform::com::discovery {

/// Which of the two sockets a datagram came in at; the two have their own session ids.
enum class Path : std::uint8_t { multicast, unicast };

/// The session state of the peers this node has heard of. Of more than max_peers, the one silent for longest is
/// forgotten; the unicast numbers of whoever takes its place go on from the highest forgotten one, so that a forgotten
/// peer that comes back does not take a number as small as 1 for a restart of this node.
class Peers final {
 public:
  static constexpr std::size_t max_peers = 256;

  /// Takes an accepted message of a peer. When the peer started anew since its last one: when that was heard.
  std::optional<Time> accept(Time now, boost::asio::ip::address_v4 const& address, Path path,
                             Session_stamp const& stamp);
  /// The number of the next message to a peer.
  Session_stamp next_to(boost::asio::ip::address_v4 const& peer);

 private:
  struct Peer {
    Session_counter to_it;
    Reboot_detector multicast;
    Reboot_detector unicast;
    Time heard;
  };

  Peer& at(boost::asio::ip::address_v4 const& address);
  void forget_one();

  std::map<boost::asio::ip::address_v4, Peer> peers_;
  Session_counter highest_forgotten_;
};

}  // namespace linux_platform::com::discovery

#endif
