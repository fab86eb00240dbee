// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/terminal_display.h"

#include <string_view>
#include <utility>

#include "machine/flashwatch_read/printable.h"
#include "machine/flashwatch_read/read_error.h"

namespace flashwatch_read {
namespace {

char const* const enter_second_screen = "\x1b[?1049h\x1b[?25l";
char const* const leave_second_screen = "\x1b[?25h\x1b[?1049l";
char const* const to_the_top = "\x1b[H";
char const* const clear_to_end_of_line = "\x1b[K";
char const* const clear_below = "\x1b[J";

/// The lines that fit; the last row then says how many do not.
std::string fitted(std::string_view text, std::size_t rows) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    auto const line = text.substr(0, text.find('\n'));
    lines.push_back(line);
    text.remove_prefix(std::min(text.size(), line.size() + 1));
  }
  std::string result;
  auto const shown = lines.size() <= rows ? lines.size() : rows - 1;
  for (std::size_t i = 0; i < shown; ++i) {
    result += (i == 0 ? "" : "\r\n") + std::string{lines[i]} + clear_to_end_of_line;
  }
  if (shown < lines.size()) {
    result += "\r\n(" + std::to_string(lines.size() - shown) + " more lines)" + clear_to_end_of_line;
  }
  return result;
}

}  // namespace

Terminal_display::Terminal_display(std::ostream& terminal, Size_of size_of, Table_style const& style)
    : terminal_{terminal}, size_of_{std::move(size_of)}, style_{style} {}

Terminal_display::~Terminal_display() {
  if (last_) {
    terminal_ << leave_second_screen << table_text(*last_, style_) << std::flush;
  }
}

void Terminal_display::show(Overview const& overview) {
  if (!last_) {
    terminal_ << enter_second_screen;
  }
  last_ = overview;
  draw({});
}

void Terminal_display::show_trouble(std::string const& text) { draw(text); }

void Terminal_display::draw(std::string const& trouble) {
  auto const size = size_of_();
  style_.width = size.columns;
  std::string text;
  for (auto const& line : trouble.empty() ? std::vector<std::string>{} : wrap("NO READING: " + trouble, size.columns)) {
    text += line + '\n';
  }
  text += last_ ? table_text(*last_, style_) : std::string{};
  if (!(terminal_ << to_the_top << fitted(text, size.rows) << clear_below << std::flush)) {
    throw Read_error{"drawing on the terminal: it takes no more"};
  }
}

}  // namespace flashwatch_read
