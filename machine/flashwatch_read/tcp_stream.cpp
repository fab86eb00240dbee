// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/tcp_stream.h"

#include <cerrno>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>
#include <utility>

#include "machine/flashwatch_read/printable.h"
#include "machine/flashwatch_read/read_error.h"
#include "machine/flashwatch_read/wait.h"
#include "machine/flashwatch_read/words.h"

namespace flashwatch_read {
namespace {

using Addresses = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

std::string error_text(int error) { return std::generic_category().message(error); }

bool would_block(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }

Addresses addresses_of(Remote const& remote) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV;
  addrinfo* found = nullptr;
  auto const port = std::to_string(remote.port);
  auto const error = getaddrinfo(remote.host.c_str(), port.c_str(), &hints, &found);
  if (error != 0) {
    throw Read_error{"looking up " + printable(remote.host) + ": " +
                     (error == EAI_SYSTEM ? error_text(errno) : std::string{gai_strerror(error)})};
  }
  return {found, &freeaddrinfo};
}

/// What went wrong with the connection that `socket` was to become; 0 if it did.
int pending_error(int socket) {
  int error = 0;
  socklen_t size = sizeof error;
  return ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

/// A connected socket, or the reason why there is none.
std::pair<File_descriptor, std::string> try_address(addrinfo const& address, std::chrono::milliseconds limit,
                                                    int stop) {
  File_descriptor socket{
      ::socket(address.ai_family, address.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, address.ai_protocol)};
  if (socket.get() < 0) {
    return {File_descriptor{}, error_text(errno)};
  }
  if (::connect(socket.get(), address.ai_addr, address.ai_addrlen) != 0) {
    if (errno != EINPROGRESS) {
      return {File_descriptor{}, error_text(errno)};
    }
    if (!wait_for(socket.get(), POLLOUT, stop, std::chrono::steady_clock::now() + limit)) {
      return {File_descriptor{}, "no answer within " + limit_text(limit)};
    }
    if (auto const error = pending_error(socket.get()); error != 0) {
      return {File_descriptor{}, error_text(error)};
    }
  }
  int const on = 1;
  // A request is one small segment that nothing follows; without it, it would only be later.
  ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  return {std::move(socket), std::string{}};
}

}  // namespace

std::string remote_text(Remote const& remote) {
  return printable(remote.host) + " port " + std::to_string(remote.port);
}

std::unique_ptr<Byte_stream_if> Tcp_stream::connect(Remote const& remote, std::chrono::milliseconds limit, int stop) {
  auto const addresses = addresses_of(remote);
  std::string reason;
  for (auto const* address = addresses.get(); address != nullptr; address = address->ai_next) {
    auto [socket, why] = try_address(*address, limit, stop);
    if (socket.get() >= 0) {
      return std::unique_ptr<Byte_stream_if>{new Tcp_stream{std::move(socket), stop}};
    }
    reason = std::move(why);
  }
  throw Read_error{"connecting to " + remote_text(remote) + ": " + reason};
}

void Tcp_stream::send(Byte_view bytes, Deadline deadline) {
  while (!bytes.empty()) {
    wait(POLLOUT, deadline);
    auto const sent = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent >= 0) {
      bytes = bytes.after(static_cast<std::size_t>(sent));
    } else if (!would_block(errno)) {
      throw Stream_error{Stream_error::Kind::lost, "the connection was lost (" + error_text(errno) + ')'};
    }
  }
}

Bytes Tcp_stream::receive(std::size_t most, Deadline deadline) {
  Bytes bytes(most);
  for (;;) {
    wait(POLLIN, deadline);
    auto const received = ::recv(socket_.get(), bytes.data(), bytes.size(), 0);
    if (received > 0) {
      bytes.resize(static_cast<std::size_t>(received));
      return bytes;
    }
    if (received == 0) {
      throw Stream_error{Stream_error::Kind::lost, "the entity closed the connection"};
    }
    if (!would_block(errno)) {
      throw Stream_error{Stream_error::Kind::lost, "the connection was lost (" + error_text(errno) + ')'};
    }
  }
}

void Tcp_stream::wait(short events, Deadline deadline) const {
  if (!wait_for(socket_.get(), events, stop_, deadline)) {
    throw Stream_error{Stream_error::Kind::timed_out, "no answer in time"};
  }
}

}  // namespace flashwatch_read
