// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_RUNTIME_STALL_WATCH_H
#define PLATFORM_SRC_COM_RUNTIME_STALL_WATCH_H

#include <atomic>
#include <cstdint>
#include <functional>

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>

namespace linux_platform::com {

/// Looks every millisecond while things are begun, and notices when none was for a millisecond. It costs who begins one
/// a system call only when nothing had been begun for a while, and nothing at all runs while nothing is begun.
class Stall_watch final {
 public:
  /// Called on the thread of `io` within about a millisecond of every beginning.
  using Tick = std::function<void()>;
  /// Asked on the thread of `io` when nothing has been begun for a millisecond. True to go on watching; false when
  /// there is nothing to watch for until the next beginning.
  using Stalled = std::function<bool()>;

  /// Throws std::system_error.
  Stall_watch(boost::asio::io_context& io, Tick on_tick, Stalled on_stall);
  Stall_watch(Stall_watch const&) = delete;
  Stall_watch& operator=(Stall_watch const&) = delete;

  /// Called by any thread.
  void begun() noexcept {
    ++begun_;
    if (!armed_.load()) {
      arm();
    }
  }
  /// Watches no more; on the thread of `io`.
  void stop() noexcept;

 private:
  void arm() noexcept;
  void await_tick();
  void tick();

  Tick const on_tick_;
  Stalled const on_stall_;
  boost::asio::posix::stream_descriptor timer_;
  std::atomic<std::uint32_t> begun_{0};
  std::atomic<bool> armed_{false};
  std::uint32_t seen_ = 0;  ///< what begun_ was at the last tick; on the thread of io only
};

}  // namespace linux_platform::com

#endif
