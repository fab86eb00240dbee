// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_DELAYED_ANSWERS_H
#define PLATFORM_SRC_COM_DISCOVERY_DELAYED_ANSWERS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "platform/src/com/discovery/endpoint.h"
#include "platform/src/com/discovery/time.h"

namespace linux_platform::com::discovery {

/// The answers that wait so that not every node answers a multicast question at once. One peer's questions share one
/// answer, sent when the first of them is due; beyond max_peers asking at once, the rest get none and ask again.
class Delayed_answers final {
 public:
  static constexpr std::size_t max_peers = 256;

  /// False when too many peers wait already.
  bool add(Endpoint const& destination, std::set<Service_key> const& keys, Time due);
  /// The next answer that is due, if any.
  std::optional<std::pair<Endpoint, std::set<Service_key>>> take_due(Time now);
  std::optional<Time> next_due() const;

 private:
  /// The address and port of a peer, in the order of the addresses.
  using Destination = std::pair<boost::asio::ip::address_v4, std::uint16_t>;
  struct Answer {
    Time due;
    std::set<Service_key> keys;
  };

  std::map<Destination, Answer> answers_;
};

}  // namespace linux_platform::com::discovery

#endif
