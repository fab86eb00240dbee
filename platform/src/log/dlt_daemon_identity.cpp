// SPDX-License-Identifier: Apache-2.0
#include "platform/src/log/dlt_daemon_identity.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <tuple>
#include <utility>

namespace linux_platform::log {

namespace {

// As libdlt finds it.
std::string fifo_path() {
  auto const* const directory = std::getenv("DLT_PIPE_DIR");
  return std::string(directory == nullptr ? "/tmp" : directory) + "/dlt";
}

}  // namespace

Dlt_daemon_identity::Dlt_daemon_identity() noexcept : fifo_(fifo_path()), last_(read()) {}

bool Dlt_daemon_identity::Identity::operator==(Identity const& other) const noexcept {
  return std::tie(inode, made_seconds, made_nanoseconds) ==
         std::tie(other.inode, other.made_seconds, other.made_nanoseconds);
}

bool Dlt_daemon_identity::changed() noexcept {
  auto const now = read();
  return !(std::exchange(last_, now) == now);
}

// The time of making too: a file system may give the inode number of the old FIFO to the new one.
Dlt_daemon_identity::Identity Dlt_daemon_identity::read() const noexcept {
  struct statx status {};
  if (statx(AT_FDCWD, fifo_.c_str(), 0, STATX_INO | STATX_BTIME, &status) != 0) {
    return {};
  }
  return {status.stx_ino, status.stx_btime.tv_sec, status.stx_btime.tv_nsec};
}

}  // namespace linux_platform::log
