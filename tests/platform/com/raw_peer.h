// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_PLATFORM_COM_RAW_PEER_H
#define TESTS_PLATFORM_COM_RAW_PEER_H

#include <arpa/inet.h>
#include <cerrno>
#include <cstdint>
#include <initializer_list>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/src/com/message/header.h"

namespace linux_platform::com::testing_support {

using Bytes = std::vector<std::uint8_t>;

inline Bytes joined(std::initializer_list<Bytes> pieces) {
  Bytes bytes;
  for (Bytes const& piece : pieces) {
    bytes.insert(bytes.end(), piece.begin(), piece.end());
  }
  return bytes;
}

inline sockaddr_in endpoint(std::string const& address, std::uint16_t port) {
  sockaddr_in result{};
  result.sin_family = AF_INET;
  result.sin_port = htons(port);
  ::inet_aton(address.c_str(), &result.sin_addr);
  return result;
}

inline void require(bool good, char const* what) {
  if (!good) {
    throw std::runtime_error(what);
  }
}

/// A blocking TCP connection that says exactly what a test wants said; no wait takes longer than ten seconds.
class Raw_peer {
 public:
  explicit Raw_peer(int descriptor) : descriptor_(descriptor) {
    timeval const limit{10, 0};
    int const one = 1;
    ::setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    ::setsockopt(descriptor_, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    ::setsockopt(descriptor_, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
  }
  Raw_peer(std::string const& address, std::uint16_t port) : Raw_peer(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in const to = endpoint(address, port);
    require(::connect(descriptor_, reinterpret_cast<sockaddr const*>(&to), sizeof to) == 0, "connect");
  }
  ~Raw_peer() { ::close(descriptor_); }
  Raw_peer(Raw_peer&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Raw_peer& operator=(Raw_peer&&) = delete;

  void send(Bytes const& bytes) {
    require(::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size()),
            "send");
  }
  /// The next `size` bytes, fewer at the end of the stream.
  Bytes receive(std::size_t size) {
    Bytes bytes(size);
    // Asking for nothing would wait for something all the same.
    ssize_t const got = size == 0 ? 0 : ::recv(descriptor_, bytes.data(), size, MSG_WAITALL);
    require(got >= 0 || errno == ECONNRESET, "receive");
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
  }
  /// The next message; empty at the end of the stream.
  Bytes receive_message() {
    Bytes message = receive(Header::size);
    if (message.size() == Header::size) {
      Bytes const payload = receive(read_length(message.data()) + Header::counted_from - Header::size);
      message.insert(message.end(), payload.begin(), payload.end());
    }
    return message;
  }
  bool at_end() { return receive(1).empty(); }
  void end_sending() { ::shutdown(descriptor_, SHUT_WR); }
  /// Whether something has come, without waiting for it.
  bool has_input() {
    std::uint8_t byte = 0;
    return ::recv(descriptor_, &byte, 1, MSG_PEEK | MSG_DONTWAIT) > 0;
  }

 private:
  int descriptor_;
};

/// Listens at a port of the kernel's choice. Connections come about in the kernel, so one thread can play both ends.
class Raw_listener {
 public:
  explicit Raw_listener(std::string const& address) : descriptor_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in at = endpoint(address, 0);
    socklen_t size = sizeof at;
    timeval const limit{10, 0};
    ::setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    require(::bind(descriptor_, reinterpret_cast<sockaddr const*>(&at), size) == 0, "bind");
    require(::listen(descriptor_, 8) == 0, "listen");
    ::getsockname(descriptor_, reinterpret_cast<sockaddr*>(&at), &size);
    port_ = ntohs(at.sin_port);
  }
  ~Raw_listener() { ::close(descriptor_); }
  Raw_listener(Raw_listener const&) = delete;
  Raw_listener& operator=(Raw_listener const&) = delete;

  std::uint16_t port() const { return port_; }
  Raw_peer accept() {
    int const accepted = ::accept(descriptor_, nullptr, nullptr);
    require(accepted >= 0, "accept");
    return Raw_peer(accepted);
  }

 private:
  int descriptor_;
  std::uint16_t port_ = 0;
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
