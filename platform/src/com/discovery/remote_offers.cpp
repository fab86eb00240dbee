// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/discovery/remote_offers.h"

#include <utility>

#include "platform/src/com/discovery/matching.h"

namespace linux_platform::com::discovery {

bool Remote_offers::add(Found const& offer, boost::asio::ip::address_v4 const& owner,
                        std::optional<Time> const& expires) {
  auto const id = identity(offer.key);
  auto const known = offers_.find(id);
  if (known == offers_.end()) {
    if (offers_.size() >= max_offers) {
      return false;
    }
    note_before(id);
    offers_[id] = Offer{offer, owner, expires};
  } else if (known->second.owner == owner) {
    note_before(id);
    known->second = Offer{offer, owner, expires};
  }
  return true;
}

void Remote_offers::remove(Service_key const& key, boost::asio::ip::address_v4 const& owner) {
  auto const known = offers_.find(identity(key));
  if (known != offers_.end() && known->second.owner == owner) {
    note_before(known->first);
    offers_.erase(known);
  }
}

void Remote_offers::remove(Service_key const& key) {
  auto const known = offers_.find(identity(key));
  if (known != offers_.end()) {
    remove(key, known->second.owner);
  }
}

template <typename Condition>
void Remote_offers::remove_if(Condition const& condition) {
  for (auto it = offers_.begin(); it != offers_.end();) {
    if (condition(it->second)) {
      note_before(it->first);
      it = offers_.erase(it);
    } else {
      ++it;
    }
  }
}

void Remote_offers::forget(boost::asio::ip::address_v4 const& owner) {
  remove_if([&owner](Offer const& offer) { return offer.owner == owner; });
}

void Remote_offers::expire(Time now) {
  remove_if([now](Offer const& offer) { return offer.expires && *offer.expires <= now; });
}

void Remote_offers::settle() {
  auto const touched = std::exchange(before_, {});
  for (auto const& [id, before] : touched) {
    auto const after = now_offered(id);
    bool const same = before && after && before->key == after->key;
    if (before && !same) {
      listener_.on_unavailable(before->key);
    }
    if (after && (!same || before->endpoint != after->endpoint)) {
      listener_.on_available(after->key, after->endpoint);
    }
  }
}

std::optional<Time> Remote_offers::next_expiry() const {
  std::optional<Time> next;
  for (auto const& [id, offer] : offers_) {
    next = earlier(next, offer.expires);
  }
  return next;
}

std::vector<Found> Remote_offers::matching(Service_key const& wanted) const {
  std::vector<Found> found;
  for (auto const& [id, offer] : offers_) {
    if (matches(wanted, offer.found.key)) {
      found.push_back(offer.found);
    }
  }
  return found;
}

std::optional<Found> Remote_offers::now_offered(Identity const& identity) const {
  auto const known = offers_.find(identity);
  return known == offers_.end() ? std::nullopt : std::make_optional(known->second.found);
}

void Remote_offers::note_before(Identity const& identity) { before_.emplace(identity, now_offered(identity)); }

}  // namespace linux_platform::com::discovery
