// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/discovery/searches.h"

#include <utility>

namespace linux_platform::com::discovery {

Searches::Searches(Discovery_settings settings) : settings_(std::move(settings)) {}

void Searches::add(Service_key const& wanted, std::chrono::milliseconds window, Callback callback, Time now) {
  searches_.push_back({wanted, now + window, next_question(0, now), 0, std::move(callback)});
}

std::optional<Time> Searches::next_question(std::uint32_t repetitions, Time now) const {
  if (repetitions >= settings_.repetitions_max) {
    return std::nullopt;
  }
  return now + settings_.repetitions_base_delay * (std::int64_t{1} << repetitions);
}

std::vector<Service_key> Searches::take_due_questions(Time now) {
  std::vector<Service_key> due;
  for (auto& search : searches_) {
    if (search.next_question && *search.next_question <= now && now < search.deadline) {
      due.push_back(search.wanted);
      search.next_question = next_question(++search.repetitions, now);
    }
  }
  return due;
}

std::vector<Searches::Outcome> Searches::take_found(Lookup const& lookup) {
  std::vector<Outcome> ended;
  std::vector<Search> waiting;
  for (auto& search : searches_) {
    auto found = lookup(search.wanted);
    if (found.empty()) {
      waiting.push_back(std::move(search));
    } else {
      ended.push_back({std::move(search.callback), std::move(found)});
    }
  }
  searches_ = std::move(waiting);
  return ended;
}

std::vector<Searches::Outcome> Searches::take_expired(Time now) {
  std::vector<Outcome> ended;
  std::vector<Search> waiting;
  for (auto& search : searches_) {
    if (search.deadline <= now) {
      ended.push_back({std::move(search.callback), {}});
    } else {
      waiting.push_back(std::move(search));
    }
  }
  searches_ = std::move(waiting);
  return ended;
}

std::vector<Searches::Outcome> Searches::take_all() { return take_expired(Time::max()); }

std::optional<Time> Searches::next_due() const {
  std::optional<Time> next;
  for (auto const& search : searches_) {
    next = earlier(earlier(next, search.next_question), search.deadline);
  }
  return next;
}

}  // namespace linux_platform::com::discovery
