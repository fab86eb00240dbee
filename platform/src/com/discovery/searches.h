// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_SEARCHES_H
#define PLATFORM_SRC_COM_DISCOVERY_SEARCHES_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "platform/src/com/discovery/discovery_settings.h"
#include "platform/src/com/discovery/endpoint.h"
#include "platform/src/com/discovery/time.h"

namespace linux_platform::com::discovery {

/// The searches of this process that wait for an offer, and when the network is asked again for each.
class Searches final {
 public:
  static constexpr std::size_t max_searches = 64;
  using Callback = std::function<void(std::vector<Found>)>;
  using Lookup = std::function<std::vector<Found>(Service_key const&)>;

  /// A search that ended, with what it found.
  struct Outcome {
    Callback callback;
    std::vector<Found> found;
  };

  explicit Searches(Discovery_settings settings);

  bool full() const noexcept { return searches_.size() >= max_searches; }
  /// Starts the window. The first question has to be sent by the caller.
  void add(Service_key const& wanted, std::chrono::milliseconds window, Callback callback, Time now);
  /// What the network is to be asked for now.
  std::vector<Service_key> take_due_questions(Time now);
  /// Ends the searches that `lookup` has an offer for.
  std::vector<Outcome> take_found(Lookup const& lookup);
  /// Ends the searches whose window is over.
  std::vector<Outcome> take_expired(Time now);
  /// Ends all.
  std::vector<Outcome> take_all();
  std::optional<Time> next_due() const;

 private:
  struct Search {
    Service_key wanted;
    Time deadline;
    std::optional<Time> next_question;
    std::uint32_t repetitions = 0;
    Callback callback;
  };

  std::optional<Time> next_question(std::uint32_t repetitions, Time now) const;

  Discovery_settings const settings_;
  std::vector<Search> searches_;
};

}  // namespace linux_platform::com::discovery

#endif
