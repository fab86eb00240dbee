// SPDX-License-Identifier: Apache-2.0
#include "platform/src/log/utf8.h"

#include <algorithm>
#include <cstdint>

namespace linux_platform::log {

namespace {

constexpr std::size_t longest_character = 4;

std::uint8_t byte_at(std::string_view text, std::size_t index) noexcept {
  return static_cast<std::uint8_t>(text[index]);
}

bool is_continuation(std::uint8_t byte) noexcept { return (byte & 0xC0U) == 0x80U; }

std::size_t length_from_lead(std::uint8_t lead) noexcept {
  if (lead < 0x80U) {
    return 1;
  }
  if (lead >= 0xC2U && lead <= 0xDFU) {
    return 2;
  }
  if (lead >= 0xE0U && lead <= 0xEFU) {
    return 3;
  }
  return lead >= 0xF0U && lead <= 0xF4U ? 4 : 0;
}

// The second byte carries the limits that keep out overlong forms, surrogates and what is beyond U+10FFFF.
bool is_second_byte(std::uint8_t lead, std::uint8_t second) noexcept {
  switch (lead) {
    case 0xE0U:
      return second >= 0xA0U && second <= 0xBFU;
    case 0xEDU:
      return second >= 0x80U && second <= 0x9FU;
    case 0xF0U:
      return second >= 0x90U && second <= 0xBFU;
    case 0xF4U:
      return second >= 0x80U && second <= 0x8FU;
    default:
      return is_continuation(second);
  }
}

}  // namespace

std::size_t utf8_character_length(std::string_view text) noexcept {
  if (text.empty()) {
    return 0;
  }
  auto const lead = byte_at(text, 0);
  auto const length = length_from_lead(lead);
  if (length < 2) {
    return length;
  }
  if (text.size() < length || !is_second_byte(lead, byte_at(text, 1))) {
    return 0;
  }
  auto const rest = text.substr(2, length - 2);
  bool const whole =
      std::all_of(rest.begin(), rest.end(), [](char byte) { return is_continuation(static_cast<std::uint8_t>(byte)); });
  return whole ? length : 0;
}

std::size_t utf8_cut_length(std::string_view text, std::size_t limit) noexcept {
  auto const furthest_back = limit - std::min(limit, longest_character - 1);
  for (auto length = limit; length > furthest_back; --length) {
    auto const start = length - 1;
    auto const character = utf8_character_length(text.substr(start));
    if (character > 1 && start + character > limit) {
      return start;
    }
  }
  return limit;
}

}  // namespace linux_platform::log
