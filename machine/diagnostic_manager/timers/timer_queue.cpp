// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/timers/timer_queue.h"

#include "machine/diagnostic_manager/timers/timer.h"

namespace machine::diagnostic_manager {

void Timer_queue::run_due() {
  Time const until = now_();
  while (!running_.empty() && running_.begin()->first.first <= until) {
    Timer& timer = *running_.begin()->second;
    // The callback may destroy its timer: nothing of it is touched once the call has begun.
    std::function<void()> const expired = std::exchange(timer.expired_, nullptr);
    timer.stop();
    expired();
  }
}

std::optional<Timer_queue::Time> Timer_queue::next() const {
  if (running_.empty()) {
    return std::nullopt;
  }
  return running_.begin()->first.first;
}

Timer_queue::Key Timer_queue::insert(Timer& timer, std::chrono::milliseconds delay) {
  Key const key{now_() + delay, started_++};
  auto const entry = running_.emplace(key, &timer).first;
  if (entry == running_.begin() && earlier_) {
    earlier_();
  }
  return key;
}

void Timer::start(std::chrono::milliseconds delay, std::function<void()> expired) {
  stop();
  expired_ = std::move(expired);
  key_ = queue_.insert(*this, delay);
}

void Timer::stop() noexcept {
  if (key_) {
    queue_.erase(*key_);
    key_.reset();
  }
  // What the callback holds may hold this timer: it goes last.
  std::function<void()> const dropped = std::exchange(expired_, nullptr);
}

}  // namespace machine::diagnostic_manager
