// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/amounts.h"

#include <algorithm>
#include <array>

#include "machine/flashwatch_read/wide.h"

namespace flashwatch_read {
namespace {

constexpr unsigned bits_per_unit = 10;
constexpr std::array<char const*, 7> units{"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
constexpr std::uint64_t largest_percent_shown = 999;

/// `hundredths` of a unit as three significant digits.
std::string three_digits(std::uint64_t hundredths) {
  auto const whole = hundredths / 100;
  if (whole >= 100) {
    return std::to_string(whole);
  }
  auto const fraction = hundredths % 100;
  if (whole >= 10) {
    return std::to_string(whole) + '.' + std::to_string(fraction / 10);
  }
  return std::to_string(whole) + '.' + std::to_string(fraction / 10) + std::to_string(fraction % 10);
}

std::string two_digits(std::uint64_t value) { return value < 10 ? '0' + std::to_string(value) : std::to_string(value); }

}  // namespace

Remainder remainder_of(std::uint64_t limit, std::uint64_t written) noexcept {
  return written > limit ? Remainder{true, written - limit} : Remainder{false, limit - written};
}

std::string amount_text(std::uint64_t bytes, Amount_style style) {
  if (style == Amount_style::exact_bytes) {
    return std::to_string(bytes);
  }
  std::size_t unit = 0;
  while (unit + 1 < units.size() && (bytes >> (bits_per_unit * (unit + 1))) != 0) {
    ++unit;
  }
  if (unit == 0) {
    return std::to_string(bytes) + " B";
  }
  auto const hundredths = static_cast<std::uint64_t>((Wide{bytes} * 100) >> (bits_per_unit * unit));
  return three_digits(hundredths) + ' ' + units.at(unit);
}

std::string remainder_text(Remainder const& remainder, Amount_style style) {
  return (remainder.over ? "-" : "") + amount_text(remainder.bytes, style);
}

std::string share_text(std::uint64_t limit, std::uint64_t written) {
  if (limit == 0) {
    return "-";
  }
  auto const rounding = written > limit ? Wide{limit} - 1 : Wide{0};
  auto const percent = (Wide{written} * 100 + rounding) / limit;
  if (percent > largest_percent_shown) {
    return '>' + std::to_string(largest_percent_shown) + '%';
  }
  if (percent == 0 && written > 0) {
    return "<1%";
  }
  return std::to_string(static_cast<unsigned>(percent)) + '%';
}

std::size_t share_cells(std::uint64_t limit, std::uint64_t written, std::size_t cells) noexcept {
  if (written > limit) {
    return cells;
  }
  return limit == 0 ? 0 : static_cast<std::size_t>(Wide{written} * cells / limit);
}

bool share_reaches(std::uint64_t limit, std::uint64_t written, unsigned percent) noexcept {
  return limit != 0 && Wide{written} * 100 >= Wide{limit} * percent;
}

std::string duration_text(std::uint64_t seconds) {
  constexpr std::uint64_t minute = 60;
  constexpr std::uint64_t hour = 60 * minute;
  constexpr std::uint64_t day = 24 * hour;
  constexpr std::uint64_t year = 31556952;  // the average Gregorian year, by which the budgets are counted as well
  if (seconds < minute) {
    return std::to_string(seconds) + " s";
  }
  if (seconds < hour) {
    return std::to_string(seconds / minute) + " m " + two_digits(seconds % minute) + " s";
  }
  if (seconds < day) {
    return std::to_string(seconds / hour) + " h " + two_digits(seconds % hour / minute) + " m";
  }
  if (seconds < year) {
    return std::to_string(seconds / day) + " d " + two_digits(seconds % day / hour) + " h";
  }
  if (seconds <= 100 * year) {
    return std::to_string(seconds / year) + (seconds < 2 * year ? " year" : " years");
  }
  return ">100 years";
}

}  // namespace flashwatch_read
