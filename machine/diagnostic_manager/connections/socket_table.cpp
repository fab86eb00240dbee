// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/connections/socket_table.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace machine::diagnostic_manager::connections {

using doip::Activation_code;

void Socket_table::add(Id id, Member_if& member) {
  entries_.emplace(std::piecewise_construct, std::forward_as_tuple(id), std::forward_as_tuple(member, timers_));
}

void Socket_table::remove(Id id) {
  if (entries_.erase(id) == 0) {
    return;
  }
  waiting_.remove_if([id](Waiting const& waiting) { return waiting.id == id; });
  concluded(id, false);
}

void Socket_table::activate(Id id, std::uint16_t address, Decided decided) {
  auto const entry = entries_.find(id);
  if (entry == entries_.end()) {
    return;
  }
  if (entry->second.address) {
    decided(entry->second.address == address ? Activation_code::activated : Activation_code::other_address_on_socket);
    return;
  }
  Waiting waiting;
  waiting.id = id;
  waiting.address = address;
  waiting.decided = std::move(decided);
  examine(std::move(waiting));
}

void Socket_table::release(Id id) {
  auto const entry = entries_.find(id);
  if (entry != entries_.end()) {
    entry->second.alive_timer.stop();
    entry->second.address.reset();
    concluded(id, false);
  }
}

void Socket_table::alive(Id id) {
  auto const entry = entries_.find(id);
  if (entry != entries_.end() && entry->second.alive_timer.running()) {
    entry->second.alive_timer.stop();
    concluded(id, true);
  }
}

void Socket_table::examine(Waiting waiting) {
  bool const had_all_asked = std::exchange(waiting.for_place, false);
  auto const other = holder(waiting.address);
  if (other != entries_.end() && waiting.holder_alive) {
    waiting.decided(Activation_code::address_on_other_socket);
  } else if (other != entries_.end()) {
    ask(other->first, other->second, waiting);
    waiting_.push_back(std::move(waiting));
  } else if (registered() < max_sockets_) {
    entries_.at(waiting.id).address = waiting.address;
    waiting.decided(Activation_code::activated);
  } else if (had_all_asked) {
    waiting.decided(Activation_code::all_sockets_active);
  } else {
    waiting.for_place = true;
    for (auto& [id, entry] : entries_) {
      if (entry.address) {
        ask(id, entry, waiting);
      }
    }
    waiting_.push_back(std::move(waiting));
  }
}

void Socket_table::ask(Id id, Entry& entry, Waiting& waiting) {
  waiting.asked.insert(id);
  if (!entry.alive_timer.running()) {
    entry.alive_timer.start(alive_check_time_, [&member = entry.member] { member.give_way(); });
    entry.member.send_alive_check();
  }
}

void Socket_table::concluded(Id id, bool alive) {
  for (Waiting& waiting : waiting_) {
    bool const asked = waiting.asked.erase(id) != 0;
    waiting.holder_alive = waiting.holder_alive || (asked && alive && !waiting.for_place);
  }
  // A decision may close connections and so come back here: nothing is held across the call.
  while (true) {
    auto const ready =
        std::find_if(waiting_.begin(), waiting_.end(), [](Waiting const& waiting) { return waiting.asked.empty(); });
    if (ready == waiting_.end()) {
      return;
    }
    Waiting waiting = std::move(*ready);
    waiting_.erase(ready);
    examine(std::move(waiting));
  }
}

std::size_t Socket_table::registered() const noexcept {
  return static_cast<std::size_t>(std::count_if(entries_.begin(), entries_.end(),
                                                [](auto const& entry) { return entry.second.address.has_value(); }));
}

std::map<Socket_table::Id, Socket_table::Entry>::iterator Socket_table::holder(std::uint16_t address) {
  return std::find_if(entries_.begin(), entries_.end(),
                      [address](auto const& entry) { return entry.second.address == address; });
}

}  // namespace machine::diagnostic_manager::connections
