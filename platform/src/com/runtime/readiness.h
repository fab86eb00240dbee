// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_RUNTIME_READINESS_H
#define PLATFORM_SRC_COM_RUNTIME_READINESS_H

#include <cstdint>
#include <optional>

namespace linux_platform::com {

/// Where a thread waits for whichever connection has something to do next (Linux epoll, edge-triggered).
///
/// A sign is given once and to one thread. What happens to a connection while nobody waits is kept for the next wait.
class Readiness final {
 public:
  struct Sign {
    std::uint64_t id;  ///< of the descriptor
    bool end;          ///< the peer ended its side or the connection is lost; no further sign says so
  };

  /// Throws std::system_error.
  Readiness();
  ~Readiness();
  Readiness(Readiness const&) = delete;
  Readiness& operator=(Readiness const&) = delete;

  /// Watches a descriptor for input, room for output and the end. `id` is not 0. Throws std::system_error.
  void add(int descriptor, std::uint64_t id);
  /// Gives a sign for a watched descriptor although nothing happened to it, provided that it can be written.
  void call_for(int descriptor, std::uint64_t id) noexcept;
  /// No sign is given any more.
  void remove(int descriptor) noexcept;

  /// Waits for a sign. Nothing when end() was called, and sometimes for no reason.
  std::optional<Sign> wait() noexcept;

  /// wait() returns, now and ever after.
  void end() noexcept;

 private:
  int epoll_;
  int end_ = -1;
};

}  // namespace linux_platform::com

#endif
