// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_TIMERS_TIMER_QUEUE_H
#define MACHINE_DIAGNOSTIC_MANAGER_TIMERS_TIMER_QUEUE_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

namespace machine::diagnostic_manager {

class Timer;

/// The deadlines of everything that waits, processed "until now" by whoever owns the time: an event loop, or a test
/// with a clock of its own. Used on one thread only; outlives its timers.
class Timer_queue {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// `now` gives the current time; it never goes back.
  explicit Timer_queue(std::function<Time()> now) : now_(std::move(now)) {}
  Timer_queue(Timer_queue const&) = delete;
  Timer_queue& operator=(Timer_queue const&) = delete;

  /// `changed` is called when the earliest deadline has moved forward, so that the owner can wake up in time.
  void on_earlier(std::function<void()> changed) { earlier_ = std::move(changed); }
  /// Calls what is due by now, earliest first. A callback may start and stop any timer and destroy its own.
  void run_due();
  /// The earliest deadline, if anything is running.
  std::optional<Time> next() const;
  Time now() const { return now_(); }

 private:
  friend class Timer;
  using Key = std::pair<Time, std::uint64_t>;

  Key insert(Timer& timer, std::chrono::milliseconds delay);
  void erase(Key const& key) { running_.erase(key); }

  std::function<Time()> now_;
  std::function<void()> earlier_;
  std::map<Key, Timer*> running_;
  std::uint64_t started_ = 0;
};

}  // namespace machine::diagnostic_manager

#endif
