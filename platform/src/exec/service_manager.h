// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_EXEC_SERVICE_MANAGER_H
#define PLATFORM_SRC_EXEC_SERVICE_MANAGER_H

#include <cstdint>
#include <string_view>

namespace linux_platform::exec {

enum class Notification : std::uint8_t {
  sent,
  nobody_listens,  ///< no notification socket is named: the process runs without a service manager
  failed,          ///< one is named, but it cannot be reached or takes nothing at the moment
};

/// Sends one datagram of the service manager's notification protocol, sd_notify(3), to the socket that NOTIFY_SOCKET
/// names: a path, or "@" and an abstract name. Never blocks and never throws; usable from any thread.
///
/// This is not libsystemd's sd_notify() because that waits without a limit while the receiver's queue is full (10
/// datagrams by default), which would stop the process together with a manager that hangs.
Notification notify_service_manager(std::string_view assignments) noexcept;

}  // namespace linux_platform::exec

#endif
