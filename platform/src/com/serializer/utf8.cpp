// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/serializer/utf8.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace linux_platform::com {
namespace {

// The rows of table 3-7 of the Unicode standard for sequences of several bytes. Which first byte leads to how many
// continuation bytes, and the range of the first of them; the others are 80..BF.
struct Sequence {
  std::uint8_t first_min;
  std::uint8_t first_max;
  std::size_t continuations;
  std::uint8_t second_min;
  std::uint8_t second_max;
};

constexpr std::array<Sequence, 8> sequences{{
    {0xC2, 0xDF, 1, 0x80, 0xBF},
    {0xE0, 0xE0, 2, 0xA0, 0xBF},
    {0xE1, 0xEC, 2, 0x80, 0xBF},
    {0xED, 0xED, 2, 0x80, 0x9F},
    {0xEE, 0xEF, 2, 0x80, 0xBF},
    {0xF0, 0xF0, 3, 0x90, 0xBF},
    {0xF1, 0xF3, 3, 0x80, 0xBF},
    {0xF4, 0xF4, 3, 0x80, 0x8F},
}};

// The length of the well-formed sequence of several bytes at the start of `text`; 0 when there is none.
std::size_t sequence_length(std::string_view text) noexcept {
  auto const byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  for (Sequence const& row : sequences) {
    if (byte(0) < row.first_min || byte(0) > row.first_max) {
      continue;
    }
    if (text.size() <= row.continuations || byte(1) < row.second_min || byte(1) > row.second_max) {
      return 0;
    }
    for (std::size_t i = 2; i <= row.continuations; ++i) {
      if ((byte(i) & 0xC0U) != 0x80U) {
        return 0;
      }
    }
    return row.continuations + 1;
  }
  return 0;
}

// How many of the first bytes of `text` are surely ASCII, looking at eight at a time.
std::size_t ascii_length(std::string_view text) noexcept {
  constexpr std::uint64_t beyond_ascii = 0x8080808080808080U;
  std::size_t length = 0;
  for (std::uint64_t bytes = 0; text.size() - length >= sizeof bytes; length += sizeof bytes) {
    std::memcpy(&bytes, text.data() + length, sizeof bytes);
    if ((bytes & beyond_ascii) != 0) {
      break;
    }
  }
  return length;
}

}  // namespace

bool is_utf8(std::string_view text) noexcept {
  text.remove_prefix(ascii_length(text));
  while (!text.empty()) {
    std::size_t const length = static_cast<std::uint8_t>(text.front()) < 0x80U ? 1 : sequence_length(text);
    if (length == 0) {
      return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace linux_platform::com
