// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_SERVER_TCP_LINK_H
#define MACHINE_DIAGNOSTIC_MANAGER_SERVER_TCP_LINK_H

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <boost/asio/ip/tcp.hpp>

#include "machine/diagnostic_manager/connections/link_if.h"
#include "machine/diagnostic_manager/timers/timer.h"

namespace machine::diagnostic_manager::server {

/// One accepted socket. The loop's pending operations keep it alive until the socket is closed.
class Tcp_link final : public connections::Link_if, public std::enable_shared_from_this<Tcp_link> {
 public:
  struct Limits {
    /// Of what is queued and not yet taken by the network, in bytes.
    std::size_t outgoing_queue = 65536;
    /// How long a closed connection may take to send its last answers and to see the other end close.
    std::chrono::milliseconds linger{500};
  };
  /// Called with no bytes once the tester has ended its side; it may still hear.
  using Received = std::function<void(Byte_view)>;
  /// Called once, with the reason, from the loop and never from a call into the link.
  using Ended = std::function<void(std::string const& reason)>;

  Tcp_link(boost::asio::ip::tcp::socket socket, Limits const& limits, Timer_queue& timers);

  void start(Received received, Ended ended);
  /// Ends at once, without telling anybody: the owner goes away.
  void abandon() noexcept;

  void send(Bytes message) override;
  std::size_t room() const override { return limits_.outgoing_queue - queued_; }
  void close(std::string_view reason) override;

 private:
  enum class State : std::uint8_t { open, finishing, closed };

  void read();
  void bytes_read(boost::system::error_code const& error, std::size_t count);
  void write();
  void wait();
  void finish_sending();
  void end(std::string_view reason);

  static constexpr std::size_t read_size = 4096;

  boost::asio::ip::tcp::socket socket_;
  Limits const limits_;
  Timer linger_timer_;
  State state_ = State::open;
  bool input_ended_ = false;
  std::string reason_;
  Received received_;
  Ended ended_;
  std::array<std::uint8_t, read_size> input_{};
  std::deque<Bytes> queue_;
  std::size_t queued_ = 0;  ///< bytes
  std::size_t sent_ = 0;    ///< of the first that is queued
  bool waiting_ = false;    ///< for the network to take more
};

}  // namespace machine::diagnostic_manager::server

#endif
