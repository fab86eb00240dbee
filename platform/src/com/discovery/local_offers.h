// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_LOCAL_OFFERS_H
#define PLATFORM_SRC_COM_DISCOVERY_LOCAL_OFFERS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "platform/src/com/discovery/discovery_settings.h"
#include "platform/src/com/discovery/endpoint.h"
#include "platform/src/com/discovery/time.h"

namespace linux_platform::com::discovery {

/// What this process offers, and when each offer is announced next.
///
///   initial wait  -> repetition  first announcement, after a random delay
///   initial wait  -> main        the same, without repetitions
///   repetition    -> main        last repetition; the delay doubles with each
///   main                         one announcement every cycle
class Local_offers final {
 public:
  static constexpr std::size_t max_offers = 64;

  Local_offers(Discovery_settings settings, Random_delay random);

  /// Starts the initial wait, or only changes the endpoint of what is offered already. False when there are too many.
  bool add(Service_key const& key, Endpoint const& endpoint, Time now);
  /// What was offered under that key.
  std::optional<Found> remove(Service_key const& key);

  /// What is to be announced now, in one go. Offers in the main phase whose turn comes within half a cycle join the
  /// ones that are due, so that a node at rest sends one message a cycle however many services it has.
  std::vector<Found> take_due(Time now);
  std::optional<Time> next_due() const;

  /// The offers that a received find asks for. One that waits for its first announcement does not answer yet.
  std::vector<Found> answering(Service_key const& wanted) const;
  /// The offers that a search of this process asks for.
  std::vector<Found> matching(Service_key const& wanted) const;
  std::optional<Endpoint> endpoint(Service_key const& key) const;
  /// Whether this process offers that very instance, in any minor version.
  bool has_instance(Service_key const& key) const;
  std::vector<Found> all() const;

 private:
  enum class Phase : std::uint8_t { initial_wait, repetition, main };

  struct Offer {
    Endpoint endpoint;
    Phase phase = Phase::initial_wait;
    std::uint32_t repetitions = 0;  ///< already sent
    Time due;
  };

  void advance(Offer& offer, Time now) const;

  Discovery_settings const settings_;
  Random_delay const random_;
  std::map<Service_key, Offer> offers_;
};

}  // namespace linux_platform::com::discovery

#endif
