// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_CONNECTION_TCP_STREAM_H
#define PLATFORM_SRC_COM_CONNECTION_TCP_STREAM_H

#include <chrono>
#include <cstddef>
#include <cstdint>

#include <boost/asio/ip/tcp.hpp>

#include "platform/src/com/discovery/endpoint.h"

namespace linux_platform::com {

/// An established TCP connection that any number of threads use at once: one may read while another writes or shuts it
/// down.
///
/// Asio makes the connection; then its descriptor leaves the reactor. A reactor that still watched it would be woken by
/// every message that another thread is about to read, which costs as much as the exchange itself.
class Tcp_stream final {
 public:
  using Clock = std::chrono::steady_clock;

  /// What one reading or writing attempt did. Nothing done and no error: it would have to wait.
  struct Transfer {
    std::size_t bytes = 0;
    bool ended = false;  ///< the peer has closed its side
    int error = 0;       ///< the errno by which the connection was lost
  };

  /// Takes over a connected socket and sets its options: no delay, and an end within half a minute to a peer that
  /// vanished. Throws boost::system::system_error.
  explicit Tcp_stream(boost::asio::ip::tcp::socket&& socket);
  /// Connects from the address `local`. Blocks until `deadline` at most. Throws boost::system::system_error.
  static Tcp_stream connect(boost::asio::ip::address_v4 const& local, Endpoint const& remote,
                            Clock::time_point deadline);
  ~Tcp_stream();
  Tcp_stream(Tcp_stream&& other) noexcept;
  Tcp_stream& operator=(Tcp_stream&&) = delete;
  Tcp_stream(Tcp_stream const&) = delete;
  Tcp_stream& operator=(Tcp_stream const&) = delete;

  /// Reads what is there; never blocks.
  Transfer read(std::uint8_t* data, std::size_t size) noexcept;
  /// Reads what is there, and waits for it so long at most, often less: nothing done then.
  Transfer read_within(std::uint8_t* data, std::size_t size, Clock::duration patience) noexcept;
  /// Writes what the socket takes; never blocks.
  Transfer write(std::uint8_t const* data, std::size_t size) noexcept;
  /// Blocks until something can be written or until `deadline`; false then.
  bool wait_writable(Clock::time_point deadline) noexcept;
  /// Ends both directions; who waits or reads sees the end.
  void shut_down() noexcept;

  int descriptor() const noexcept { return descriptor_; }

 private:
  explicit Tcp_stream(int descriptor) noexcept : descriptor_(descriptor) {}
  bool wait(short events, Clock::time_point deadline) noexcept;

  int descriptor_;
};

}  // namespace linux_platform::com

#endif
