// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_DISCOVERY_H
#define PLATFORM_SRC_COM_DISCOVERY_DISCOVERY_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/ip/address_v4.hpp>

#include "platform/src/com/discovery/discovery_listener_if.h"
#include "platform/src/com/discovery/discovery_settings.h"
#include "platform/src/com/discovery/endpoint.h"
#include "platform/src/com/discovery/service_key.h"

namespace linux_platform::com {

/// The discovery sockets could not be opened; the text says which address and why.
class Discovery_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The SOME/IP service discovery node of this process: offers what the process serves, knows what the network offers.
///
/// Not thread-safe: everything is called on the executor's one thread (or strand), where callbacks and the listener
/// run too. Nothing blocks. What the process itself offers is found, live and reported to the listener like anything
/// else. Time is the monotonic clock.
class Discovery final {
 public:
  using Find_callback = std::function<void(std::vector<Found>)>;

  /// Opens the sockets and starts listening. `own` is this process's address, which no other process may use.
  /// `listener` outlives the object. Throws Discovery_error.
  Discovery(boost::asio::any_io_executor const& executor, Discovery_settings const& settings,
            boost::asio::ip::address_v4 const& own, Discovery_listener_if& listener);
  /// Closes the sockets without a word to the network or to pending searches; call stop() before.
  ~Discovery();
  Discovery(Discovery const&) = delete;
  Discovery& operator=(Discovery const&) = delete;

  /// Announces a service that is ready to accept connections: a first offer after the initial delay, then the
  /// repetitions, then one every cycle. Offering what is offered already changes its endpoint.
  /// Throws Discovery_error beyond max_local_offers or after stop().
  void offer(Service_key const& key, Endpoint const& endpoint);
  /// Ends an offer; tells the network at once. Without effect when it is not offered.
  void withdraw(Service_key const& key);

  /// Calls back once: from inside find when a matching offer is live; else when one arrives, or with an empty list
  /// when `window` is over. A search that has to wait asks the network at once and repeats that with the delays of the
  /// repetition phase. instance and major may be any_instance, any_major. Results come in the order of their keys.
  /// The callback may call find, live, offer and withdraw.
  void find(std::uint16_t service, std::uint16_t instance, std::uint8_t major, std::chrono::milliseconds window,
            Find_callback callback);
  /// The endpoint of the first matching live offer.
  std::optional<Endpoint> live(std::uint16_t service, std::uint16_t instance, std::uint8_t major) const;

  /// Withdraws every offer, ends every search with an empty list, closes the sockets. Idempotent.
  void stop();

 private:
  class Node;
  std::shared_ptr<Node> node_;  ///< shared with the handlers in flight, which hold it weakly
};

}  // namespace linux_platform::com

#endif
