// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_TCP_STREAM_H
#define MACHINE_FLASHWATCH_READ_TCP_STREAM_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "machine/flashwatch_read/byte_stream_if.h"
#include "machine/flashwatch_read/file_descriptor.h"

namespace flashwatch_read {

/// Where an entity listens.
struct Remote {
  std::string host;  ///< a name or an address, IPv4 or IPv6
  std::uint16_t port = 13400;
};

/// "127.0.20.3 port 13400"
std::string remote_text(Remote const& remote);

/// A TCP connection.
class Tcp_stream final : public Byte_stream_if {
 public:
  /// Tries the host's addresses one after the other, each for at most `limit`. Looking up a name takes as long as the
  /// system's resolver allows. `stop` is a descriptor that is readable once the user wants to stop, or -1. Throws
  /// Read_error, or Stop_requested.
  static std::unique_ptr<Byte_stream_if> connect(Remote const& remote, std::chrono::milliseconds limit, int stop);

  void send(Byte_view bytes, Deadline deadline) override;
  Bytes receive(std::size_t most, Deadline deadline) override;

 private:
  Tcp_stream(File_descriptor socket, int stop) : socket_{std::move(socket)}, stop_{stop} {}
  void wait(short events, Deadline deadline) const;

  File_descriptor socket_;
  int stop_;
};

}  // namespace flashwatch_read

#endif
