// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_REBOOT_DETECTOR_H
#define PLATFORM_SRC_COM_DISCOVERY_REBOOT_DETECTOR_H

#include <optional>

#include "platform/src/com/discovery/session_counter.h"

namespace linux_platform::com::discovery {

/// Watches the messages of one peer on one path (group or unicast). Gaps in the session ids only mean loss.
class Reboot_detector final {
 public:
  /// Takes the stamp of an accepted message; true when the peer started anew since the last one.
  bool accept(Session_stamp const& stamp) noexcept {
    bool const rebooted = last_ && stamp.reboot && (!last_->reboot || last_->session >= stamp.session);
    last_ = stamp;
    return rebooted;
  }

  /// Forgets what the peer sent before its restart, when that became known on the other path.
  void forget() noexcept { last_.reset(); }

 private:
  std::optional<Session_stamp> last_;
};

}  // namespace linux_platform::com::discovery

#endif
