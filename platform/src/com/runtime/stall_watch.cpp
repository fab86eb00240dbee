// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/runtime/stall_watch.h"

#include <cerrno>
#include <sys/timerfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <boost/system/error_code.hpp>

namespace linux_platform::com {
namespace {

constexpr long patience_ns = 1'000'000;

// A timer of asio's could only be set by the thread that runs it; this one is set by whoever begins something.
int make_timer() {
  int const timer = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
  if (timer < 0) {
    throw std::system_error(errno, std::generic_category(), "timerfd_create");
  }
  return timer;
}

}  // namespace

Stall_watch::Stall_watch(boost::asio::io_context& io, Tick on_tick, Stalled on_stall)
    : on_tick_(std::move(on_tick)), on_stall_(std::move(on_stall)), timer_(io, make_timer()) {
  await_tick();
}

void Stall_watch::stop() noexcept {
  boost::system::error_code ignored;
  timer_.cancel(ignored);
}

void Stall_watch::arm() noexcept {
  armed_ = true;
  itimerspec once{};
  once.it_value.tv_nsec = patience_ns;
  // It cannot fail: the descriptor and the time are good.
  static_cast<void>(::timerfd_settime(timer_.native_handle(), 0, &once, nullptr));
}

void Stall_watch::await_tick() {
  timer_.async_wait(boost::asio::posix::stream_descriptor::wait_read, [this](boost::system::error_code const& error) {
    if (!error) {
      tick();
      await_tick();
    }
  });
}

void Stall_watch::tick() {
  std::uint64_t expirations = 0;
  [[maybe_unused]] auto const size = ::read(timer_.native_handle(), &expirations, sizeof expirations);
  std::uint32_t const begun = begun_;
  on_tick_();
  if (std::exchange(seen_, begun) != begun || on_stall_()) {
    arm();
    return;
  }
  armed_ = false;
  // Whoever begins something from now on arms it; what began just before that is seen here.
  if (begun_ != begun) {
    arm();
  }
}

}  // namespace linux_platform::com
