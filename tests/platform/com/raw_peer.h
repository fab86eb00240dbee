// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_PLATFORM_COM_RAW_PEER_H
#define TESTS_PLATFORM_COM_RAW_PEER_H

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <utility>
#include <vector>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include "platform/src/com/message/header.h"

namespace linux_platform::com::testing_support {

using Bytes = std::vector<std::uint8_t>;
using Tcp = boost::asio::ip::tcp;

constexpr std::chrono::seconds longest_wait{10};

inline Bytes joined(std::initializer_list<Bytes> pieces) {
  Bytes bytes;
  for (Bytes const& piece : pieces) {
    bytes.insert(bytes.end(), piece.begin(), piece.end());
  }
  return bytes;
}

inline void require(bool good, char const* what) {
  if (!good) {
    throw std::runtime_error(what);
  }
}

/// A blocking TCP connection that says exactly what a test wants said.
class Raw_peer {
 public:
  explicit Raw_peer(Tcp::socket&& connected) : stream_(std::move(connected)) {
    stream_.socket().set_option(Tcp::no_delay(true));
  }
  Raw_peer(std::string const& address, std::uint16_t port) {
    stream_.expires_after(longest_wait);
    stream_.connect(Tcp::endpoint(boost::asio::ip::make_address(address), port));
    require(stream_.good(), "connect");
    stream_.socket().set_option(Tcp::no_delay(true));
  }

  void send(Bytes const& bytes) {
    stream_.expires_after(longest_wait);
    stream_.write(reinterpret_cast<char const*>(bytes.data()), static_cast<std::streamsize>(bytes.size())).flush();
    require(stream_.good(), "send");
  }
  /// The next `size` bytes, fewer at the end of the stream.
  Bytes receive(std::size_t size) {
    Bytes bytes(size);
    stream_.expires_after(longest_wait);
    stream_.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
    require(stream_.good() || stream_.error() == boost::asio::error::eof ||
                stream_.error() == boost::asio::error::connection_reset,
            "receive");
    bytes.resize(static_cast<std::size_t>(stream_.gcount()));
    return bytes;
  }
  /// The next message; empty at the end of the stream.
  Bytes receive_message() {
    Bytes const head = receive(Header::size);
    return head.size() < Header::size
               ? head
               : joined({head, receive(read_length(head.data()) + Header::counted_from - Header::size)});
  }
  bool at_end() { return receive(1).empty(); }
  /// Waits until the other end has acknowledged the end of what was sent, which nothing tells.
  void await_arrival_of_end() {
    auto const limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    tcp_info info{};
    do {
      socklen_t size = sizeof info;
      require(std::chrono::steady_clock::now() < limit &&
                  ::getsockopt(stream_.socket().native_handle(), IPPROTO_TCP, TCP_INFO, &info, &size) == 0,
              "see the end arrive");
    } while (info.tcpi_state == TCP_ESTABLISHED || info.tcpi_state == TCP_FIN_WAIT1);
  }
  void end_sending() { stream_.socket().shutdown(Tcp::socket::shutdown_send); }
  /// Whether something has come, without waiting for it.
  bool has_input() { return stream_.rdbuf()->in_avail() > 0 || stream_.socket().available() > 0; }

 private:
  Tcp::iostream stream_;
};

/// Listens at a port of the kernel's choice. Connections come about in the kernel, so one thread can play both ends.
class Raw_listener {
 public:
  std::uint16_t port() const { return acceptor_.local_endpoint().port(); }
  Raw_peer accept() {
    Tcp::socket accepted(io_);
    acceptor_.async_accept(accepted, [](auto const& /*error*/) {});
    io_.restart();
    io_.run_for(longest_wait);
    require(accepted.is_open(), "accept");
    return Raw_peer(std::move(accepted));
  }

 private:
  boost::asio::io_context io_;
  Tcp::acceptor acceptor_{io_, {boost::asio::ip::address_v4::loopback(), 0}};
};

/// The bytes of a message.
inline Bytes message(Header const& header, Bytes const& payload = {}) {
  Bytes bytes(Header::size);
  write_header(bytes.data(), header, static_cast<std::uint32_t>(payload.size()));
  return joined({bytes, payload});
}

/// The answer to a request; an error, when a return code says so.
inline Bytes answer(Bytes const& request, Bytes const& payload = {}, unsigned code = 0) {
  Header header = read_header(request.data());
  header.type = code == 0 ? Message_type::response : Message_type::error;
  header.code = Return_code{static_cast<std::uint8_t>(code)};
  return message(header, payload);
}

}  // namespace linux_platform::com::testing_support

#endif
