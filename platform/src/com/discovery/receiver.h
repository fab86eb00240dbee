// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_RECEIVER_H
#define PLATFORM_SRC_COM_DISCOVERY_RECEIVER_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include <boost/asio/ip/udp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/system/error_code.hpp>

namespace linux_platform::com::discovery {

/// Reads the datagrams of one socket for as long as its owner lives.
class Receiver final {
 public:
  static constexpr std::size_t max_datagram = 65'507;             ///< the largest there is
  static constexpr std::chrono::milliseconds error_pause{1'000};  ///< a socket that fails must not be asked in a loop

  using On_datagram =
      std::function<void(boost::asio::ip::udp::endpoint const& source, std::uint8_t const* data, std::size_t size)>;
  using On_error = std::function<void(boost::system::error_code const&)>;

  explicit Receiver(boost::asio::ip::udp::socket socket);

  /// Calls back on the socket's executor while `owner` is alive, and keeps it alive during a call.
  void start(std::weak_ptr<void> const& owner, On_datagram on_datagram, On_error on_error);
  void close();
  boost::asio::ip::udp::socket& socket() noexcept { return socket_; }

 private:
  void receive();
  void received(boost::system::error_code const& error, std::size_t size);

  boost::asio::ip::udp::socket socket_;
  boost::asio::steady_timer pause_;
  std::vector<std::uint8_t> buffer_;
  boost::asio::ip::udp::endpoint source_;
  std::weak_ptr<void> owner_;
  On_datagram on_datagram_;
  On_error on_error_;
};

}  // namespace linux_platform::com::discovery

#endif
