// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/connection/tcp_stream.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <limits>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <utility>

#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/socket_base.hpp>
#include <boost/system/system_error.hpp>

namespace linux_platform::com {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

// A peer that vanished without closing is given up after about this time: unacknowledged data by the first, silence by
// the others.
constexpr int user_timeout_ms = 30'000;
constexpr int probe_after_s = 15;
constexpr int probe_every_s = 5;
constexpr int probes = 3;

// How long a read waits that waits at all. Waiting in it saves asking first: one system call less for each answer.
constexpr std::chrono::milliseconds longest_read{50};

template <typename Value>
void set_option(int descriptor, int level, int name, Value const& value) {
  if (::setsockopt(descriptor, level, name, &value, sizeof value) != 0) {
    throw boost::system::system_error(errno, boost::system::generic_category(), "setsockopt");
  }
}

int release(tcp::socket& socket) {
  socket.set_option(tcp::no_delay(true));
  socket.set_option(asio::socket_base::keep_alive(true));
  int const descriptor = socket.native_handle();
  set_option(descriptor, IPPROTO_TCP, TCP_KEEPIDLE, probe_after_s);
  set_option(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, probe_every_s);
  set_option(descriptor, IPPROTO_TCP, TCP_KEEPCNT, probes);
  set_option(descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT, user_timeout_ms);
  set_option(descriptor, SOL_SOCKET, SO_RCVTIMEO, timeval{0, std::chrono::microseconds(longest_read).count()});
  socket.native_non_blocking(false);
  return socket.release();
}

Tcp_stream::Transfer transferred(ssize_t result) noexcept {
  if (result >= 0) {
    return {static_cast<std::size_t>(result), false, 0};
  }
  if (errno == EAGAIN || errno == EINTR) {
    return {};
  }
  return {0, false, errno};
}

Tcp_stream::Transfer received(ssize_t result) noexcept {
  return result == 0 ? Tcp_stream::Transfer{0, true, 0} : transferred(result);
}

}  // namespace

Tcp_stream::Tcp_stream(tcp::socket&& socket) : descriptor_(release(socket)) {}

Tcp_stream Tcp_stream::connect(asio::ip::address_v4 const& local, Endpoint const& remote, Clock::time_point deadline) {
  asio::io_context context;
  tcp::socket socket(context);
  socket.open(tcp::v4());
  // The port is chosen when the remote end is known, so that many connections may come from one address. Where the
  // option is not known, as under qemu-user, there may be fewer.
  int const late = 1;
  static_cast<void>(::setsockopt(socket.native_handle(), IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, &late, sizeof late));
  socket.bind({local, 0});
  boost::system::error_code result = asio::error::timed_out;
  socket.async_connect({remote.address, remote.port}, [&](boost::system::error_code const& error) { result = error; });
  context.run_until(deadline);
  if (result) {
    throw boost::system::system_error(result);
  }
  return Tcp_stream(std::move(socket));
}

Tcp_stream::~Tcp_stream() {
  if (descriptor_ >= 0) {
    ::close(descriptor_);
  }
}

Tcp_stream::Tcp_stream(Tcp_stream&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

Tcp_stream::Transfer Tcp_stream::read(std::uint8_t* data, std::size_t size) noexcept {
  return received(::recv(descriptor_, data, size, MSG_DONTWAIT));
}

Tcp_stream::Transfer Tcp_stream::read_within(std::uint8_t* data, std::size_t size, Clock::duration patience) noexcept {
  if (patience >= longest_read) {
    return received(::recv(descriptor_, data, size, 0));
  }
  return patience <= Clock::duration::zero() || wait(POLLIN, Clock::now() + patience) ? read(data, size) : Transfer{};
}

Tcp_stream::Transfer Tcp_stream::write(std::uint8_t const* data, std::size_t size) noexcept {
  return transferred(::send(descriptor_, data, size, MSG_DONTWAIT | MSG_NOSIGNAL));
}

bool Tcp_stream::wait_writable(Clock::time_point deadline) noexcept { return wait(POLLOUT, deadline); }

bool Tcp_stream::wait(short events, Clock::time_point deadline) noexcept {
  for (;;) {
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    auto const limit = std::clamp<decltype(left)>(left, 0, std::numeric_limits<int>::max());
    pollfd watched{descriptor_, events, 0};
    int const ready = ::poll(&watched, 1, static_cast<int>(limit));
    if (ready > 0) {
      return true;
    }
    if (ready == 0 && Clock::now() >= deadline) {
      return false;
    }
  }
}

void Tcp_stream::shut_down() noexcept { ::shutdown(descriptor_, SHUT_RDWR); }

}  // namespace linux_platform::com
