// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/discovery/local_offers.h"

#include <algorithm>
#include <utility>

#include "platform/src/com/discovery/matching.h"

namespace linux_platform::com::discovery {

Local_offers::Local_offers(Discovery_settings settings, Random_delay random)
    : settings_(std::move(settings)), random_(std::move(random)) {}

bool Local_offers::add(Service_key const& key, Endpoint const& endpoint, Time now) {
  auto const found = offers_.find(key);
  if (found != offers_.end()) {
    found->second.endpoint = endpoint;
    return true;
  }
  if (offers_.size() >= max_offers) {
    return false;
  }
  auto const delay = random_(settings_.initial_delay_min, settings_.initial_delay_max);
  offers_[key] = Offer{endpoint, Phase::initial_wait, 0, now + delay};
  return true;
}

std::optional<Found> Local_offers::remove(Service_key const& key) {
  auto const found = offers_.find(key);
  if (found == offers_.end()) {
    return std::nullopt;
  }
  Found const removed{key, found->second.endpoint};
  offers_.erase(found);
  return removed;
}

std::vector<Found> Local_offers::take_due(Time now) {
  std::vector<Found> due;
  auto const first = next_due();
  if (!first || *first > now) {
    return due;
  }
  auto const joining = now + settings_.cyclic_offer_delay / 2;
  for (auto& [key, offer] : offers_) {
    if (offer.due <= now || (offer.phase == Phase::main && offer.due <= joining)) {
      due.push_back({key, offer.endpoint});
      advance(offer, now);
    }
  }
  return due;
}

void Local_offers::advance(Offer& offer, Time now) const {
  auto const repetition_delay = [this](std::uint32_t number) {
    return settings_.repetitions_base_delay * (std::int64_t{1} << number);
  };
  switch (offer.phase) {
    case Phase::initial_wait:
      offer.phase = settings_.repetitions_max > 0 ? Phase::repetition : Phase::main;
      offer.due = now + (settings_.repetitions_max > 0 ? repetition_delay(0) : settings_.cyclic_offer_delay);
      return;
    case Phase::repetition:
      ++offer.repetitions;
      offer.due = now + repetition_delay(offer.repetitions);
      if (offer.repetitions == settings_.repetitions_max) {
        offer.phase = Phase::main;
        offer.due += settings_.cyclic_offer_delay;
      }
      return;
    case Phase::main:
      // From the moment it was due, so that late wake-ups do not add up; from now if a whole cycle was slept through.
      offer.due = std::min(offer.due, now) + settings_.cyclic_offer_delay;
      offer.due = offer.due <= now ? now + settings_.cyclic_offer_delay : offer.due;
      return;
  }
}

std::optional<Time> Local_offers::next_due() const {
  std::optional<Time> next;
  for (auto const& [key, offer] : offers_) {
    next = earlier(next, offer.due);
  }
  return next;
}

std::vector<Found> Local_offers::answering(Service_key const& wanted) const {
  std::vector<Found> found;
  for (auto const& [key, offer] : offers_) {
    if (offer.phase != Phase::initial_wait && matches(wanted, key)) {
      found.push_back({key, offer.endpoint});
    }
  }
  return found;
}

std::vector<Found> Local_offers::matching(Service_key const& wanted) const {
  std::vector<Found> found;
  for (auto const& [key, offer] : offers_) {
    if (matches(wanted, key)) {
      found.push_back({key, offer.endpoint});
    }
  }
  return found;
}

std::optional<Endpoint> Local_offers::endpoint(Service_key const& key) const {
  auto const found = offers_.find(key);
  return found == offers_.end() ? std::nullopt : std::make_optional(found->second.endpoint);
}

bool Local_offers::has_instance(Service_key const& key) const {
  return !matching({key.service, key.instance, key.major, any_minor}).empty();
}

std::vector<Found> Local_offers::all() const {
  std::vector<Found> found;
  for (auto const& [key, offer] : offers_) {
    found.push_back({key, offer.endpoint});
  }
  return found;
}

}  // namespace linux_platform::com::discovery
