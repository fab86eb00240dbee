// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/stats/limits.h"

#include <limits>

#include "ara/log/logging.h"

namespace orvel::flashwatch::diagnostics {
namespace {

constexpr std::uint64_t maximum = std::numeric_limits<std::uint64_t>::max();

std::uint64_t add(std::uint64_t left, std::uint64_t right) {
  if (left > maximum - right) {
    ara::log::LogWarn() << "Max limit exceedance with values:" << left << "and" << right;
    return maximum;
  }
  return left + right;
}

std::uint64_t multiply(std::uint64_t limit, std::uint64_t factor) {
  std::uint64_t const product = limit * factor;
  if (limit != 0 && product / limit != factor) {
    ara::log::LogWarn() << "Max limit exceedance with value:" << limit << "and factor" << factor;
    return maximum;
  }
  return product;
}

}  // namespace

Limits Limits::operator+(Limits const& other) const {
  Limits sum;
  sum.soft = add(soft, other.soft);
  sum.hard = add(hard, other.hard);
  return sum;
}

Limits& Limits::operator+=(Limits const& other) {
  *this = *this + other;
  return *this;
}

Limits Limits::operator*(std::uint64_t factor) const {
  Limits scaled;
  scaled.soft = multiply(soft, factor);
  scaled.hard = multiply(hard, factor);
  return scaled;
}

}  // namespace orvel::flashwatch::diagnostics
