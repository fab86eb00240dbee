// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_DLT_DAEMON_IDENTITY_H
#define PLATFORM_SRC_LOG_DLT_DAEMON_IDENTITY_H

#include <cstdint>
#include <string>

namespace linux_platform::log {

/// Tells one DLT daemon from the next: each makes its FIFO anew when it starts.
class Dlt_daemon_identity {
 public:
  Dlt_daemon_identity() noexcept;

  /// Whether the daemon is another one than at the last call, or than at construction. One thread at a time.
  bool changed() noexcept;

 private:
  struct Identity {
    std::uint64_t inode = 0;
    std::int64_t made_seconds = 0;
    std::uint32_t made_nanoseconds = 0;
    bool operator==(Identity const& other) const noexcept;
  };
  Identity read() const noexcept;

  std::string const fifo_;
  Identity last_;
};

}  // namespace linux_platform::log

#endif
