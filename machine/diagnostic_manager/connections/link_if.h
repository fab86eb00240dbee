// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_CONNECTIONS_LINK_IF_H
#define MACHINE_DIAGNOSTIC_MANAGER_CONNECTIONS_LINK_IF_H

#include <cstddef>
#include <string_view>

#include "machine/diagnostic_manager/bytes/byte_view.h"

namespace machine::diagnostic_manager::connections {

/// The way back to one tester. Used on the server's thread. Nothing blocks, throws, or calls back before it returns.
class Link_if {
 public:
  Link_if() = default;
  virtual ~Link_if() = default;
  Link_if(Link_if const&) = delete;
  Link_if& operator=(Link_if const&) = delete;

  /// Queues a whole message. A tester that lets the queue overflow loses the connection.
  virtual void send(Bytes message) = 0;
  /// How many more bytes the queue takes.
  [[nodiscard]] virtual std::size_t room() const = 0;
  /// Ends the connection once everything queued has gone out. `reason` is for the log.
  virtual void close(std::string_view reason) = 0;
};

}  // namespace machine::diagnostic_manager::connections

#endif
