// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_ENGINE_H
#define PLATFORM_SRC_COM_DISCOVERY_ENGINE_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "platform/src/com/discovery/datagram_sink_if.h"
#include "platform/src/com/discovery/delayed_answers.h"
#include "platform/src/com/discovery/discovery_listener_if.h"
#include "platform/src/com/discovery/discovery_settings.h"
#include "platform/src/com/discovery/endpoint_filter.h"
#include "platform/src/com/discovery/local_offers.h"
#include "platform/src/com/discovery/message.h"
#include "platform/src/com/discovery/outbox.h"
#include "platform/src/com/discovery/peers.h"
#include "platform/src/com/discovery/remote_offers.h"
#include "platform/src/com/discovery/searches.h"
#include "platform/src/com/discovery/time.h"

namespace linux_platform::com::discovery {

/// Service discovery without sockets, clock and timer: time comes in as an argument, datagrams go out to a sink.
/// The owner calls run_due when next_due has come. Not thread-safe.
class Engine final {
 public:
  Engine(Discovery_settings const& settings, boost::asio::ip::address_v4 const& own, Random_delay const& random,
         Datagram_sink_if& sink, Discovery_listener_if& listener);

  /// False when too much is offered already.
  bool offer(Time now, Service_key const& key, Endpoint const& endpoint);
  void withdraw(Service_key const& key);
  /// See Discovery::find; wanted.minor is any_minor.
  void find(Time now, Service_key const& wanted, std::chrono::milliseconds window, Searches::Callback callback);
  /// Every live offer, own and remote, in the order of the keys.
  std::vector<Found> live(Service_key const& wanted) const;
  /// Withdraws every offer and ends every search.
  void stop();

  void receive(Time now, Path path, Endpoint const& source, std::uint8_t const* data, std::size_t size);
  void run_due(Time now);
  std::optional<Time> next_due() const;

 private:
  /// What one message asks for: it gets one answer, however often it asks.
  struct Questions {
    std::set<Service_key> offers;
    std::vector<Entry> subscriptions;
  };

  void take_offer(Time now, Entry const& entry, boost::asio::ip::address_v4 const& peer);
  void take_find(Entry const& entry, Questions& questions) const;
  void take_questions(Time now, Path path, Questions const& questions, Endpoint const& asking);
  void answer(std::set<Service_key> const& keys, Endpoint const& asking);
  static void call_back(std::vector<Searches::Outcome> const& ended);
  /// Not before `next`, which it puts off.
  void report(Time now, Time& next, char const* what);

  Discovery_settings const settings_;
  boost::asio::ip::address_v4 const own_;
  Random_delay const random_;
  Discovery_listener_if& listener_;
  Endpoint_filter const filter_;
  Local_offers local_;
  Remote_offers remote_;
  Searches searches_;
  Delayed_answers answers_;
  Peers peers_;
  Outbox outbox_;
  Time next_table_trouble_;
  Time next_searches_trouble_;
};

}  // namespace linux_platform::com::discovery

#endif
