// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_TIMERS_TIMER_H
#define MACHINE_DIAGNOSTIC_MANAGER_TIMERS_TIMER_H

#include <chrono>
#include <functional>
#include <optional>

#include "machine/diagnostic_manager/timers/timer_queue.h"

namespace machine::diagnostic_manager {

/// One deadline in a queue. It stops when it is destroyed.
class Timer {
 public:
  explicit Timer(Timer_queue& queue) noexcept : queue_(queue) {}
  ~Timer() { stop(); }
  Timer(Timer const&) = delete;
  Timer& operator=(Timer const&) = delete;

  /// Calls `expired` once, when `delay` has passed from now. A running timer is started anew.
  void start(std::chrono::milliseconds delay, std::function<void()> expired);
  void stop() noexcept;
  bool running() const noexcept { return key_.has_value(); }

 private:
  friend class Timer_queue;

  Timer_queue& queue_;
  std::optional<Timer_queue::Key> key_;
  std::function<void()> expired_;
};

}  // namespace machine::diagnostic_manager

#endif
