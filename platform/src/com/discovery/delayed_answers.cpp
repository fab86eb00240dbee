// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/discovery/delayed_answers.h"

#include <algorithm>

namespace linux_platform::com::discovery {

bool Delayed_answers::add(Endpoint const& destination, std::set<Service_key> const& keys, Time due) {
  Destination const peer{destination.address, destination.port};
  if (answers_.size() >= max_peers && answers_.count(peer) == 0) {
    return false;
  }
  answers_.try_emplace(peer, Answer{due, {}}).first->second.keys.insert(keys.begin(), keys.end());
  return true;
}

std::optional<std::pair<Endpoint, std::set<Service_key>>> Delayed_answers::take_due(Time now) {
  auto const due =
      std::find_if(answers_.begin(), answers_.end(), [now](auto const& answer) { return answer.second.due <= now; });
  if (due == answers_.end()) {
    return std::nullopt;
  }
  auto const& [address, port] = due->first;
  std::pair<Endpoint, std::set<Service_key>> answer{Endpoint{address, port}, std::move(due->second.keys)};
  answers_.erase(due);
  return answer;
}

std::optional<Time> Delayed_answers::next_due() const {
  std::optional<Time> next;
  for (auto const& [peer, answer] : answers_) {
    next = earlier(next, answer.due);
  }
  return next;
}

}  // namespace linux_platform::com::discovery
