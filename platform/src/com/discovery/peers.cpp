// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/discovery/peers.h"

#include <algorithm>
#include <utility>

namespace linux_platform::com::discovery {

std::optional<Time> Peers::accept(Time now, boost::asio::ip::address_v4 const& address, Path path,
                                  Session_stamp const& stamp) {
  auto& peer = at(address);
  Time const before = std::exchange(peer.heard, now);
  bool const by_multicast = path == Path::multicast;
  bool const rebooted = (by_multicast ? peer.multicast : peer.unicast).accept(stamp);
  if (rebooted) {
    (by_multicast ? peer.unicast : peer.multicast).forget();
  }
  return rebooted ? std::optional(before) : std::nullopt;
}

Session_stamp Peers::next_to(boost::asio::ip::address_v4 const& peer) { return at(peer).to_it.next(); }

Peers::Peer& Peers::at(boost::asio::ip::address_v4 const& address) {
  auto const found = peers_.find(address);
  if (found != peers_.end()) {
    return found->second;
  }
  if (peers_.size() >= max_peers) {
    forget_one();
  }
  auto& peer = peers_[address];
  peer.to_it = highest_forgotten_;
  return peer;
}

void Peers::forget_one() {
  auto const silent = std::min_element(peers_.begin(), peers_.end(),
                                       [](auto const& a, auto const& b) { return a.second.heard < b.second.heard; });
  if (silent->second.to_it.beyond(highest_forgotten_)) {
    highest_forgotten_ = silent->second.to_it;
  }
  peers_.erase(silent);
}

}  // namespace linux_platform::com::discovery
