// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_USAGE_H
#define PLATFORM_SRC_PER_USAGE_H

#include <cstdint>
#include <limits>

namespace linux_platform::per {

/// What was done with a storage over some time. All counts stop at their maximum instead of wrapping.
struct Usage {
  /// Bytes of the values that GetValue returned.
  std::uint64_t read = 0;
  /// Bytes handed to the medium, the store's own overhead included.
  std::uint64_t write = 0;
  /// Calls of SetValue.
  std::uint64_t setvalue = 0;
};

constexpr std::uint64_t saturating_sum(std::uint64_t a, std::uint64_t b) noexcept {
  return a > std::numeric_limits<std::uint64_t>::max() - b ? std::numeric_limits<std::uint64_t>::max() : a + b;
}

constexpr std::uint64_t difference_or_zero(std::uint64_t a, std::uint64_t b) noexcept { return a > b ? a - b : 0; }

constexpr Usage operator+(Usage const& a, Usage const& b) noexcept {
  return {saturating_sum(a.read, b.read), saturating_sum(a.write, b.write), saturating_sum(a.setvalue, b.setvalue)};
}

/// Member by member, 0 where b is the greater one.
constexpr Usage operator-(Usage const& a, Usage const& b) noexcept {
  return {difference_or_zero(a.read, b.read), difference_or_zero(a.write, b.write),
          difference_or_zero(a.setvalue, b.setvalue)};
}

constexpr bool operator==(Usage const& a, Usage const& b) noexcept {
  return a.read == b.read && a.write == b.write && a.setvalue == b.setvalue;
}

/// Whether no member of `a` is less than that of `b`.
constexpr bool covers(Usage const& a, Usage const& b) noexcept {
  return a.read >= b.read && a.write >= b.write && a.setvalue >= b.setvalue;
}

}  // namespace linux_platform::per

#endif
