// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/runtime/worker_pool.h"

#include <chrono>
#include <system_error>
#include <utility>

#include "platform/src/log/blocked_signals.h"

namespace linux_platform::com {
namespace {

// How long a follower waits for the lead before it leaves.
constexpr std::chrono::seconds spare_time{5};

}  // namespace

void Worker_pool::start() {
  std::lock_guard<std::mutex> const lock(mutex_);
  if (workers_.empty() && !stopping_) {
    add_leader();
  }
}

bool Worker_pool::promote() noexcept {
  std::lock_guard<std::mutex> const lock(mutex_);
  if (led_ || stopping_) {
    return true;
  }
  if (followers_ > promotions_) {
    ++promotions_;
    led_ = true;
    promoted_.notify_one();
    return true;
  }
  if (workers_.size() >= limit_) {
    return false;
  }
  try {
    add_leader();
    return true;
  } catch (std::system_error const&) {
    return false;  // the machine has no thread to give
  }
}

// The caller holds the mutex.
void Worker_pool::add_leader() {
  for (std::thread& thread : departed_) {
    thread.join();
  }
  departed_.clear();
  log::Blocked_signals const blocked;
  auto const self = workers_.emplace(workers_.end());
  led_ = true;
  try {
    *self = std::thread([this, self] { run(self); });
  } catch (...) {
    led_ = false;
    workers_.erase(self);
    throw;
  }
}

void Worker_pool::run(Self self) {
  Workspace workspace;
  do {
    auto const sign = readiness_.wait();
    if (stopping_) {
      return;
    }
    led_ = false;
    if (sign) {
      left_alone_();
      serve_(*sign, workspace);
    }
  } while (follow(self));
}

// Waits for the lead. False when the thread is to leave.
bool Worker_pool::follow(Self self) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (!led_) {
    led_ = true;
    return true;
  }
  ++followers_;
  bool const leads = promoted_.wait_for(lock, spare_time, [this] { return promotions_ > 0 || stopping_; });
  --followers_;
  if (stopping_) {
    return false;
  }
  if (leads) {
    --promotions_;
    return true;
  }
  departed_.splice(departed_.end(), workers_, self);
  return false;
}

void Worker_pool::stop() noexcept {
  {
    std::lock_guard<std::mutex> const lock(mutex_);
    stopping_ = true;
    promoted_.notify_all();
  }
  readiness_.end();
  // No thread comes or departs any more.
  for (auto* threads : {&workers_, &departed_}) {
    for (std::thread& thread : *threads) {
      thread.join();
    }
    threads->clear();
  }
}

}  // namespace linux_platform::com
