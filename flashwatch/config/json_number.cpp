// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/config/json_number.h"

#include <limits>

#include <nlohmann/json.hpp>

namespace orvel::flashwatch::diagnostics {
namespace {

/// `end` is the first power of two above Integer's range: exact as a double, which the largest Integer is not.
template <typename Integer>
Integer truncate(double value, double end) {
  using Range = std::numeric_limits<Integer>;
  if (value >= end) {
    return Range::max();
  }
  if (value <= static_cast<double>(Range::min())) {
    return Range::min();
  }
  return static_cast<Integer>(value);
}

constexpr double two_to_63 = 9223372036854775808.0;
constexpr double two_to_64 = 18446744073709551616.0;

}  // namespace

std::int64_t to_signed(nlohmann::json const& value) {
  if (value.is_number_float()) {
    return truncate<std::int64_t>(value.get<double>(), two_to_63);
  }
  if (value.is_number_unsigned()) {
    return static_cast<std::int64_t>(value.get<std::uint64_t>());
  }
  // std::int64_t and std::uint64_t are the only integers that the library does not also make from a boolean.
  return value.get<std::int64_t>();
}

std::uint64_t to_unsigned(nlohmann::json const& value) {
  if (value.is_number_float()) {
    return truncate<std::uint64_t>(value.get<double>(), two_to_64);
  }
  return value.get<std::uint64_t>();
}

}  // namespace orvel::flashwatch::diagnostics
