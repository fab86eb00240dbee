// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_TIME_H
#define PLATFORM_SRC_COM_DISCOVERY_TIME_H

#include <chrono>
#include <functional>
#include <optional>

namespace linux_platform::com::discovery {

using Time = std::chrono::steady_clock::time_point;

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
