// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/runtime/worker_pool.h"

#include <chrono>
#include <iterator>
#include <optional>
#include <system_error>

#include "platform/src/log/blocked_signals.h"

namespace linux_platform::com {
namespace {

// How long a thread that is not the only one waits before it leaves.
constexpr std::chrono::milliseconds spare_time{5000};

}  // namespace

void Worker_pool::start() {
  std::lock_guard<std::mutex> const lock(mutex_);
  if (workers_.empty()) {
    add_worker();
  }
}

void Worker_pool::keep_one_waiting() noexcept {
  if (waiting_ != 0) {
    return;
  }
  std::lock_guard<std::mutex> const lock(mutex_);
  if (waiting_ == 0 && workers_.size() < limit_) {
    try {
      add_worker();
    } catch (std::system_error const&) {
      // The machine has no thread to give: the method runs all the same, and the next request waits for it.
    }
  }
}

// The caller holds the mutex.
void Worker_pool::add_worker() {
  if (stopping_) {
    return;
  }
  for (std::thread& thread : departed_) {
    thread.join();
  }
  departed_.clear();
  log::Blocked_signals const blocked;
  auto const self = workers_.emplace(workers_.end());
  ++waiting_;
  ++threads_;
  try {
    *self = std::thread([this, self] { run(self); });
  } catch (...) {
    --waiting_;
    --threads_;
    workers_.erase(self);
    throw;
  }
}

void Worker_pool::run(std::list<std::thread>::iterator self) {
  Workspace workspace;
  while (!stopping_) {
    auto const sign = readiness_.wait(threads_ > 1 ? std::optional(spare_time) : std::nullopt);
    if (sign) {
      --waiting_;
      serve_(*sign, workspace);
      ++waiting_;
    } else if (leave(self)) {
      return;
    }
  }
}

// A spare thread leaves, provided that another one waits.
bool Worker_pool::leave(std::list<std::thread>::iterator self) {
  std::lock_guard<std::mutex> const lock(mutex_);
  if (stopping_) {
    return true;
  }
  std::size_t others = waiting_;
  do {
    if (others < 2) {
      return false;
    }
  } while (!waiting_.compare_exchange_weak(others, others - 1));
  --threads_;
  departed_.splice(departed_.end(), workers_, self);
  return true;
}

void Worker_pool::stop() noexcept {
  stopping_ = true;
  readiness_.end();
  // No thread joins or leaves any more once the mutex has been held with stopping_ set.
  { std::lock_guard<std::mutex> const lock(mutex_); }
  for (auto* threads : {&workers_, &departed_}) {
    for (std::thread& thread : *threads) {
      thread.join();
    }
    threads->clear();
  }
}

}  // namespace linux_platform::com
