// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_PLATFORM_EXEC_NOTIFICATION_SOCKET_H
#define TESTS_PLATFORM_EXEC_NOTIFICATION_SOCKET_H

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// A service manager's end of the notification protocol: a datagram socket that the environment names while it lives.
class Notification_socket {
 public:
  /// `name` as in NOTIFY_SOCKET: a path, or "@" and an abstract name.
  explicit Notification_socket(std::string name)
      : name_(std::move(name)), descriptor_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(&address.sun_path, name_.data(), name_.size());
    if (name_.front() == '@') {
      address.sun_path[0] = '\0';
    }
    auto const length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name_.size());
    if (bind(descriptor_, reinterpret_cast<sockaddr*>(&address), length) != 0) {
      throw std::runtime_error("cannot bind " + name_);
    }
    setenv("NOTIFY_SOCKET", name_.c_str(), 1);
  }
  ~Notification_socket() {
    unsetenv("NOTIFY_SOCKET");
    close(descriptor_);
    if (name_.front() == '/') {
      unlink(name_.c_str());
    }
  }
  Notification_socket(Notification_socket const&) = delete;
  Notification_socket& operator=(Notification_socket const&) = delete;

  /// The next datagram that is there; empty when there is none.
  std::string next() const {
    std::array<char, 256> buffer{};
    ssize_t const count = recv(descriptor_, buffer.data(), buffer.size(), MSG_DONTWAIT);
    return count < 0 ? std::string() : std::string(buffer.data(), static_cast<std::size_t>(count));
  }

 private:
  std::string name_;
  int descriptor_;
};

#endif
