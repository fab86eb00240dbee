// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_SERVER_TIMER_DRIVER_H
#define MACHINE_DIAGNOSTIC_MANAGER_SERVER_TIMER_DRIVER_H

#include <chrono>

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include "machine/diagnostic_manager/timers/timer_queue.h"

namespace machine::diagnostic_manager::server {

/// Runs a queue of timers in an event loop. Everything on the loop's thread, or before it runs.
class Timer_driver {
 public:
  explicit Timer_driver(boost::asio::io_context& loop)
      : queue_([] { return std::chrono::steady_clock::now(); }), wake_up_(loop) {
    queue_.on_earlier([this] { arm(); });
  }
  Timer_driver(Timer_driver const&) = delete;
  Timer_driver& operator=(Timer_driver const&) = delete;

  Timer_queue& queue() noexcept { return queue_; }

 private:
  // A wake-up that has become too early stays: most deadlines are given up long before they come, and setting the
  // kernel's timer for each costs more than waking up in vain now and then.
  void arm() {
    if (next_wake_up_ <= *queue_.next()) {
      return;
    }
    next_wake_up_ = *queue_.next();
    wake_up_.expires_at(next_wake_up_);
    wake_up_.async_wait([this](boost::system::error_code const& error) {
      if (!error) {
        next_wake_up_ = Timer_queue::Time::max();
        queue_.run_due();
        if (queue_.next()) {
          arm();
        }
      }
    });
  }

  Timer_queue queue_;
  boost::asio::steady_timer wake_up_;
  Timer_queue::Time next_wake_up_ = Timer_queue::Time::max();
};

}  // namespace machine::diagnostic_manager::server

#endif
