// SPDX-License-Identifier: Apache-2.0
#include "bench/raw_connection.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace bench {
namespace {

constexpr std::size_t most_bytes = 16U << 20U;
constexpr std::size_t field_size = 4;

int checked(int result, char const* what) {
  if (result < 0) {
    throw std::system_error(errno, std::generic_category(), what);
  }
  return result;
}

sockaddr_in endpoint(std::string const& address, std::uint16_t port) {
  sockaddr_in made{};
  made.sin_family = AF_INET;
  made.sin_port = htons(port);
  if (inet_pton(AF_INET, address.c_str(), &made.sin_addr) != 1) {
    throw std::runtime_error("'" + address + "' is no IPv4 address");
  }
  return made;
}

sockaddr const* generic(sockaddr_in const& address) { return reinterpret_cast<sockaddr const*>(&address); }

void append_field(Bytes& out, std::size_t number) {
  for (unsigned const shift : {24U, 16U, 8U, 0U}) {
    out.push_back(static_cast<std::uint8_t>(number >> shift));
  }
}

std::size_t hear_field(Raw_connection const& client) {
  std::array<std::uint8_t, field_size> bytes{};
  client.receive(bytes.data(), bytes.size());
  std::size_t number = 0;
  for (auto const byte : bytes) {
    number = number << 8U | byte;
  }
  if (number > most_bytes) {
    throw std::runtime_error("a greeting of " + std::to_string(number) + " bytes");
  }
  return number;
}

}  // namespace

Raw_connection::Raw_connection(int descriptor) : descriptor_(descriptor) {
  int const on = 1;
  checked(::setsockopt(descriptor_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on), "TCP_NODELAY");
}

Raw_connection Raw_connection::connect(std::string const& address, std::uint16_t port) {
  Raw_connection made(checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
  auto const peer = endpoint(address, port);
  checked(::connect(made.descriptor_, generic(peer), sizeof peer), ("connecting to " + address).c_str());
  return made;
}

Raw_connection::~Raw_connection() {
  if (descriptor_ >= 0) {
    ::close(descriptor_);
  }
}

void Raw_connection::send(std::uint8_t const* data, std::size_t size) const {
  while (size > 0) {
    auto const sent =
        static_cast<std::size_t>(checked(static_cast<int>(::send(descriptor_, data, size, MSG_NOSIGNAL)), "send"));
    data += sent;
    size -= sent;
  }
}

std::size_t Raw_connection::receive_some(std::uint8_t* data, std::size_t size) const {
  return static_cast<std::size_t>(checked(static_cast<int>(::recv(descriptor_, data, size, 0)), "recv"));
}

void Raw_connection::receive(std::uint8_t* data, std::size_t size) const {
  while (size > 0) {
    auto const received = receive_some(data, size);
    if (received == 0) {
      throw std::runtime_error("the peer has closed the connection");
    }
    data += received;
    size -= received;
  }
}

int listen_at(std::string const& address, std::uint16_t port) {
  int const listener = checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
  int const on = 1;
  checked(::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on), "SO_REUSEADDR");
  auto const own = endpoint(address, port);
  checked(::bind(listener, generic(own), sizeof own), ("binding " + address).c_str());
  checked(::listen(listener, SOMAXCONN), "listen");
  return listener;
}

int accept_from(int listener) { return checked(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC), "accept"); }

Bytes floor_greeting(std::size_t request_size, Bytes const& answer) {
  Bytes greeting;
  append_field(greeting, request_size);
  append_field(greeting, answer.size());
  greeting.insert(greeting.end(), answer.begin(), answer.end());
  return greeting;
}

Floor_exchange hear_greeting(Raw_connection const& client) {
  Floor_exchange exchange{hear_field(client), {}};
  exchange.answer.resize(hear_field(client));
  if (exchange.request_size == 0 || exchange.answer.empty()) {
    throw std::runtime_error("a greeting for nothing");
  }
  client.receive(exchange.answer.data(), exchange.answer.size());
  return exchange;
}

}  // namespace bench
