// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/wait.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <poll.h>
#include <system_error>

#include "machine/flashwatch_read/read_error.h"

namespace flashwatch_read {

bool wait_for(int descriptor, short events, int stop, Deadline deadline) {
  constexpr std::chrono::milliseconds longest_wait{std::chrono::hours{1}};
  std::array<pollfd, 2> polled{{{descriptor, events, 0}, {stop, POLLIN, 0}}};
  for (;;) {
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      return false;
    }
    auto const limit = static_cast<int>(std::min(left, longest_wait).count());
    if (::poll(polled.data(), polled.size(), limit) < 0 && errno != EINTR) {
      throw std::system_error{errno, std::generic_category(), "poll"};
    }
    if (polled[1].revents != 0) {
      throw Stop_requested{};
    }
    if (polled[0].revents != 0) {
      return true;
    }
  }
}

}  // namespace flashwatch_read
