// SPDX-License-Identifier: Apache-2.0
#include "platform/src/log/console_line.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <type_traits>

#include "platform/src/log/utf8.h"

namespace linux_platform::log {

namespace {

constexpr std::string_view cut_mark = "[cut]";
constexpr std::size_t line_end_size = cut_mark.size() + 1;

bool is_c1_control(std::string_view character) noexcept {
  return character.size() == 2 && character[0] == '\xC2' && static_cast<std::uint8_t>(character[1]) < 0xA0U;
}

bool is_printable_ascii(char c) noexcept { return c >= ' ' && c <= '~' && c != '\\'; }

std::size_t plain_prefix(std::string_view text) noexcept {
  std::size_t length = 0;
  while (length < text.size() && is_printable_ascii(text[length])) {
    ++length;
  }
  return length;
}

void put_digits(char* at, int digits, int value) noexcept {
  for (auto* place = at + digits; place != at; value /= 10) {
    *--place = static_cast<char>('0' + value % 10);
  }
}

}  // namespace

void Console_line::append_word(std::string_view word) noexcept {
  cut_ = cut_ || word.size() > sizeof line_ - line_end_size - used_;
  if (!cut_) {
    std::memcpy(line_ + used_, word.data(), word.size());
    used_ += word.size();
  }
}

void Console_line::append_escaped(char byte) noexcept {
  constexpr std::string_view digits = "0123456789abcdef";
  switch (byte) {
    case '\n':
      return append_word("\\n");
    case '\r':
      return append_word("\\r");
    case '\t':
      return append_word("\\t");
    case '\\':
      return append_word("\\\\");
    default:
      auto const value = static_cast<std::uint8_t>(byte);
      std::array<char, 4> const escape{'\\', 'x', digits[value >> 4U], digits[value & 0x0FU]};
      return append_word({escape.data(), escape.size()});
  }
}

void Console_line::append_text(std::string_view text) noexcept {
  while (!text.empty() && !cut_) {
    auto const plain = plain_prefix(text.substr(0, sizeof line_ - line_end_size - used_));
    append_word(text.substr(0, plain));
    text.remove_prefix(plain);
    if (!text.empty()) {
      text.remove_prefix(append_character(text));
    }
  }
}

// Appends the first character of `text` and tells its length.
std::size_t Console_line::append_character(std::string_view text) noexcept {
  auto const length = utf8_character_length(text);
  auto const character = text.substr(0, length);
  if (length > 1 && !is_c1_control(character)) {
    append_word(character);
    return length;
  }
  if (is_printable_ascii(text.front())) {
    append_word(character);
  } else {
    append_escaped(text.front());
  }
  return 1;
}

// NOLINTNEXTLINE(bugprone-exception-escape): a piece always has a value
void Console_line::append(Piece const& piece) noexcept {
  std::visit(
      [this](auto const& value) {
        using Value = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<Value, std::string_view>) {
          append_text(value);
        } else if constexpr (std::is_same_v<Value, bool>) {
          append_word(value ? "true" : "false");
        } else {
          std::array<char, 64> digits{};
          auto const* const end = std::to_chars(digits.begin(), digits.end(), value).ptr;
          append_word({digits.data(), static_cast<std::size_t>(end - digits.data())});
        }
      },
      piece);
}

void Console_line::append_time(std::chrono::system_clock::time_point time) noexcept {
  auto const microseconds = std::chrono::floor<std::chrono::microseconds>(time);
  auto const seconds = std::chrono::floor<std::chrono::seconds>(time);
  auto const since_epoch = std::chrono::system_clock::to_time_t(seconds);
  std::tm utc{};
  gmtime_r(&since_epoch, &utc);
  char text[] = "0000-00-00T00:00:00.000000Z";  // NOLINT(modernize-avoid-c-arrays): a pattern to fill in
  put_digits(text, 4, utc.tm_year + 1900);
  put_digits(text + 5, 2, utc.tm_mon + 1);
  put_digits(text + 8, 2, utc.tm_mday);
  put_digits(text + 11, 2, utc.tm_hour);
  put_digits(text + 14, 2, utc.tm_min);
  put_digits(text + 17, 2, utc.tm_sec);
  put_digits(text + 20, 6, static_cast<int>((microseconds - seconds).count()));
  append_word({text, sizeof text - 1});
}

std::string_view Console_line::finish() noexcept {
  if (cut_) {
    std::memcpy(line_ + used_, cut_mark.data(), cut_mark.size());
    used_ += cut_mark.size();
  }
  line_[used_++] = '\n';
  return {line_, used_};
}

}  // namespace linux_platform::log
