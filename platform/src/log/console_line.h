// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_CONSOLE_LINE_H
#define PLATFORM_SRC_LOG_CONSOLE_LINE_H

#include <chrono>
#include <climits>
#include <cstddef>
#include <string_view>

#include "platform/src/log/piece.h"

namespace linux_platform::log {

/// One line for a terminal or file, on the stack. At most PIPE_BUF bytes, so that a pipe takes it whole or not at all;
/// a longer one is cut at a character and ends in a mark.
class Console_line {
 public:
  Console_line() noexcept {}  // NOLINT(modernize-use-equals-default): would zero the buffer

  /// As it is, whole or not at all: nothing in it needs escaping.
  void append_word(std::string_view word) noexcept;
  /// With control characters (C0, DEL, C1), backslashes and bytes that are no UTF-8 escaped: \n \r \t \\ \x1b.
  void append_text(std::string_view text) noexcept;
  /// A number in decimal, floating point in the shortest form that reads back the same, true or false, or a text.
  void append(Piece const& piece) noexcept;  // NOLINT(bugprone-exception-escape): a piece always has a value
  /// UTC with microseconds, as ISO 8601 has it.
  void append_time(std::chrono::system_clock::time_point time) noexcept;

  /// The line with its line feed. The last call.
  std::string_view finish() noexcept;

 private:
  std::size_t append_character(std::string_view text) noexcept;
  void append_escaped(char byte) noexcept;

  bool cut_ = false;
  std::size_t used_ = 0;
  char line_[PIPE_BUF];  // NOLINT(modernize-avoid-c-arrays): only the first used_ bytes are ever read
};

}  // namespace linux_platform::log

#endif
