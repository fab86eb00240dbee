// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_NONBLOCKING_OUTPUT_H
#define PLATFORM_SRC_LOG_NONBLOCKING_OUTPUT_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace linux_platform::log {

/// Writes to an inherited descriptor without ever waiting and without touching what it shares with other processes:
/// O_NONBLOCK belongs to the open file, not to the descriptor, so it is never set on the inherited one.
///
/// A pipe or terminal is opened a second time, non-blocking; where that is not allowed it is asked by poll first. A
/// socket is sent to with MSG_DONTWAIT. Anything else (files, devices) is written to as it is. The descriptor is
/// duplicated, so that what a program later opens under its number gets none of this. A peer that is gone is an
/// error, never a SIGPIPE, whose disposition stays as it is.
class Nonblocking_output {
 public:
  explicit Nonblocking_output(int inherited) noexcept;
  ~Nonblocking_output();
  Nonblocking_output(Nonblocking_output const&) = delete;
  Nonblocking_output& operator=(Nonblocking_output const&) = delete;

  /// Bytes taken: all of them, 0 when it would have to wait or fails, something between only for a terminal, a stream
  /// socket or a full file system. A pipe takes up to PIPE_BUF bytes whole or not at all. One thread at a time.
  std::size_t write(std::string_view bytes) const noexcept;

 private:
  enum class Kind : std::uint8_t { closed, nonblocking, polled, socket, plain };

  int descriptor_ = -1;
  Kind kind_ = Kind::closed;
};

}  // namespace linux_platform::log

#endif
