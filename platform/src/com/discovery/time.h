// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_TIME_H
#define PLATFORM_SRC_COM_DISCOVERY_TIME_H

#include <chrono>
#include <functional>
#include <optional>

namespace linux_platform::com::discovery {

using Time = std::chrono::steady_clock::time_point;

/// Between two reports of the same trouble: a peer that can bring it about does not decide how much is logged.
constexpr std::chrono::minutes trouble_pause{1};

/// A random duration within [min, max].
using Random_delay = std::function<std::chrono::milliseconds(std::chrono::milliseconds, std::chrono::milliseconds)>;

/// The earlier of two moments, either of which may never come.
inline std::optional<Time> earlier(std::optional<Time> const& a, std::optional<Time> const& b) {
  if (a && b) {
    return *a < *b ? a : b;
  }
  return a ? a : b;
}

}  // namespace linux_platform::com::discovery

#endif
