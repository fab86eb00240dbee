// SPDX-License-Identifier: Apache-2.0
// The floor of a start: says READY=1 to the service manager's socket as soon as main is reached, and ends. It loads the
// libraries that the service loads.
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

int main() {
  char const* const path = std::getenv("NOTIFY_SOCKET");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path == nullptr || std::strlen(path) >= sizeof address.sun_path) {
    return 1;
  }
  std::strcpy(address.sun_path, path);
  int const socket = ::socket(AF_UNIX, SOCK_DGRAM, 0);
  char const ready[] = "READY=1";
  auto const sent =
      ::sendto(socket, ready, sizeof ready - 1, 0, reinterpret_cast<sockaddr const*>(&address), sizeof address);
  return sent > 0 ? 0 : 1;
}
