// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_SESSION_COUNTER_H
#define PLATFORM_SRC_COM_DISCOVERY_SESSION_COUNTER_H

#include <cstdint>

namespace linux_platform::com::discovery {

/// The session id and the reboot flag of one message.
struct Session_stamp {
  std::uint16_t session = 1;
  bool reboot = true;
};

/// Numbers the messages of one relation: to the group, or to one peer. Starts at 1 with the reboot flag, goes from
/// 0xFFFF to 1 without it, and never has it again.
class Session_counter final {
 public:
  Session_stamp next() noexcept {
    auto const stamp = next_;
    if (next_.session == 0xFFFF) {
      next_ = {1, false};
    } else {
      ++next_.session;
    }
    return stamp;
  }

  /// Whether this counter has come further than the other.
  bool beyond(Session_counter const& other) const noexcept {
    return next_.reboot == other.next_.reboot ? next_.session > other.next_.session : !next_.reboot;
  }

 private:
  Session_stamp next_;
};

}  // namespace linux_platform::com::discovery

#endif
