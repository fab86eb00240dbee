// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_OUTBOX_H
#define PLATFORM_SRC_COM_DISCOVERY_OUTBOX_H

#include <cstdint>
#include <vector>

#include "platform/src/com/discovery/datagram_sink_if.h"
#include "platform/src/com/discovery/discovery_settings.h"
#include "platform/src/com/discovery/endpoint.h"
#include "platform/src/com/discovery/message.h"
#include "platform/src/com/discovery/peers.h"

namespace linux_platform::com::discovery {

/// Writes and numbers the messages of this node. Empty lists send nothing; long ones become several messages.
class Outbox final {
 public:
  /// `peers` numbers the unicast messages; both outlive the outbox.
  Outbox(Discovery_settings const& settings, Peers& peers, Datagram_sink_if& sink);

  void announce(std::vector<Found> const& offers);
  void withdraw(std::vector<Found> const& offers);
  void ask(std::vector<Service_key> const& wanted);
  void answer(std::vector<Found> const& offers, Endpoint const& asking);
  void refuse(std::vector<Entry> const& subscriptions, Endpoint const& asking);

 private:
  void multicast(std::vector<Entry> const& entries);
  void unicast(std::vector<Entry> const& entries, Endpoint const& destination);

  Endpoint const group_;
  std::uint32_t const ttl_;  ///< seconds
  Peers& peers_;
  Datagram_sink_if& sink_;
  Session_counter to_group_;
};

}  // namespace linux_platform::com::discovery

#endif
