// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/printable.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace flashwatch_read {
namespace {

constexpr char cut_mark = '~';

struct Character {
  std::uint32_t code = 0;
  std::size_t bytes = 1;
  bool valid = false;
};

struct Range {
  std::uint32_t first;
  std::uint32_t last;
};

// Controls (C0, DEL, C1), soft hyphen, Arabic letter mark, zero-width and direction marks, line and paragraph
// separators, interlinear and tag characters.
constexpr std::array<Range, 9> never_printed{{{0x00, 0x1F},
                                              {0x7F, 0x9F},
                                              {0xAD, 0xAD},
                                              {0x61C, 0x61C},
                                              {0x200B, 0x200F},
                                              {0x2028, 0x202E},
                                              {0x2060, 0x206F},
                                              {0xFEFF, 0xFEFF},
                                              {0xE0000, 0xE0FFF}}};
// Combining marks and variation selectors.
constexpr std::array<Range, 6> without_width{
    {{0x300, 0x36F}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}}};
// East Asian Wide and Fullwidth blocks, and the pictographs that terminals draw in two cells.
constexpr std::array<Range, 13> double_width{{{0x1100, 0x115F},
                                              {0x2E80, 0x303E},
                                              {0x3041, 0x33FF},
                                              {0x3400, 0x4DBF},
                                              {0x4E00, 0x9FFF},
                                              {0xA000, 0xA4CF},
                                              {0xAC00, 0xD7A3},
                                              {0xF900, 0xFAFF},
                                              {0xFE30, 0xFE6F},
                                              {0xFF00, 0xFF60},
                                              {0xFFE0, 0xFFE6},
                                              {0x1F300, 0x1FAFF},
                                              {0x20000, 0x3FFFD}}};

template <std::size_t n>
bool within(std::array<Range, n> const& ranges, std::uint32_t code) noexcept {
  return std::any_of(ranges.begin(), ranges.end(),
                     [code](Range const& range) { return code >= range.first && code <= range.last; });
}

std::uint32_t byte_at(std::string_view text, std::size_t index) noexcept {
  return static_cast<unsigned char>(text[index]);
}

/// The first character of a non-empty text; invalid UTF-8 yields its first byte.
Character first_character(std::string_view text) noexcept {
  auto const lead = byte_at(text, 0);
  if (lead < 0x80) {
    return {lead, 1, true};
  }
  std::size_t const length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) {
    return {lead, 1, false};
  }
  std::uint32_t code = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    auto const next = byte_at(text, i);
    if ((next & 0xC0U) != 0x80) {
      return {lead, 1, false};
    }
    code = (code << 6U) | (next & 0x3FU);
  }
  bool const overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
  bool const surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (overlong || surrogate || code > 0x10FFFF) {
    return {lead, 1, false};
  }
  return {code, length, true};
}

std::string hexadecimal(std::uint32_t code) {
  std::string digits;
  do {
    digits.insert(digits.begin(), "0123456789ABCDEF"[code % 16]);
    code /= 16;
  } while (code != 0);
  return digits;
}

std::size_t width_of(Character const& character) noexcept {
  if (within(without_width, character.code)) {
    return 0;
  }
  return within(double_width, character.code) ? 2 : 1;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    auto const character = first_character(text);
    if (!character.valid) {
      result += "\\x" + hexadecimal(character.code);
    } else if (within(never_printed, character.code)) {
      result += "\\u{" + hexadecimal(character.code) + '}';
    } else {
      result += text.substr(0, character.bytes);
    }
    text.remove_prefix(character.bytes);
  }
  return result;
}

std::size_t cells(std::string_view text) noexcept {
  std::size_t width = 0;
  while (!text.empty()) {
    auto const character = first_character(text);
    width += width_of(character);
    text.remove_prefix(character.bytes);
  }
  return width;
}

std::string cut_to(std::string_view text, std::size_t width) {
  if (cells(text) <= width) {
    return std::string{text};
  }
  if (width == 0) {
    return {};
  }
  std::size_t used = 0;
  std::size_t end = 0;
  while (end < text.size()) {
    auto const character = first_character(text.substr(end));
    used += width_of(character);
    if (used > width - 1) {
      break;
    }
    end += character.bytes;
  }
  return std::string{text.substr(0, end)} + cut_mark;
}

std::vector<std::string> wrap(std::string_view text, std::size_t width) {
  std::vector<std::string> lines(1);
  while (!text.empty()) {
    auto const word = text.substr(0, text.find(' '));
    text.remove_prefix(std::min(text.size(), word.size() + 1));
    if (!lines.back().empty() && cells(lines.back()) + 1 + cells(word) > width) {
      lines.emplace_back();
    } else if (!lines.back().empty()) {
      lines.back() += ' ';
    }
    lines.back() += word;
  }
  return lines;
}

}  // namespace flashwatch_read
