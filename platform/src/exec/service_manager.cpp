// SPDX-License-Identifier: Apache-2.0
#include "platform/src/exec/service_manager.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace linux_platform::exec {

namespace {

struct Receiver {
  sockaddr_un address;
  socklen_t length;  ///< 0 when the name is not one of a socket
};

Receiver receiver_named(std::string_view name) noexcept {
  Receiver receiver{};
  receiver.address.sun_family = AF_UNIX;
  bool const is_abstract = name.front() == '@';
  // A path needs its terminating zero; an abstract name is all the bytes there are.
  std::size_t const room = sizeof(receiver.address.sun_path) - (is_abstract ? 0 : 1);
  if ((!is_abstract && name.front() != '/') || name.size() > room) {
    return receiver;
  }
  std::memcpy(&receiver.address.sun_path, name.data(), name.size());
  if (is_abstract) {
    receiver.address.sun_path[0] = '\0';
  }
  receiver.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size() + (is_abstract ? 0 : 1));
  return receiver;
}

bool send_to(Receiver const& receiver, std::string_view text) noexcept {
  int const descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (descriptor < 0) {
    return false;
  }
  ssize_t count = -1;
  do {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): the socket interface's own address type.
    auto const* const address = reinterpret_cast<sockaddr const*>(&receiver.address);
    count = sendto(descriptor, text.data(), text.size(), MSG_NOSIGNAL, address, receiver.length);
  } while (count < 0 && errno == EINTR);
  close(descriptor);
  return count == static_cast<ssize_t>(text.size());
}

}  // namespace

Notification notify_service_manager(std::string_view assignments) noexcept {
  char const* const name = std::getenv("NOTIFY_SOCKET");
  if (name == nullptr || *name == '\0') {
    return Notification::nobody_listens;
  }
  Receiver const receiver = receiver_named(name);
  bool const is_sent = receiver.length != 0 && send_to(receiver, assignments);
  return is_sent ? Notification::sent : Notification::failed;
}

}  // namespace linux_platform::exec
