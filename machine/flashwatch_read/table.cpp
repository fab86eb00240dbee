// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/table.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "machine/flashwatch_read/printable.h"

namespace flashwatch_read {
namespace {

constexpr std::size_t gap = 2;
constexpr std::size_t shortest_name = 11;
constexpr std::size_t longest_bar = 24;
constexpr unsigned nearly_used_up_percent = 80;
char const* const exceeded_mark = "EXCEEDED";
constexpr std::size_t shortest_bar = 8;  // room for the mark

char const* const bold = "\x1b[1m";
char const* const bold_red = "\x1b[1;31m";
char const* const yellow = "\x1b[33m";
char const* const green = "\x1b[32m";
char const* const plain = "\x1b[0m";

std::string coloured(std::string const& text, char const* colour, Table_style const& style) {
  return style.colours ? colour + text + plain : text;
}

/// A column of numbers: its heading above one text for each application, all set to the right.
struct Column {
  std::string heading;
  std::vector<std::string> texts;
  bool may_go = false;    ///< left out where there is no room
  std::size_t width = 0;  ///< of the widest of all these, in cells: counted once, as an entity may send 2,000 entries
};

std::string rate_text(Application const& application, Amount_style style) {
  if (!application.trend) {
    return "-";
  }
  auto const rate = rate_of(*application.trend);
  if (rate == 0 && application.trend->written > 0) {
    return "<1 B/s";
  }
  return amount_text(rate, style) + "/s";
}

std::string forecast_text(Application const& application) {
  auto const left = remainder_of(application.figures.soft_limit, application.figures.total_write);
  if (left.over) {
    return "over";
  }
  if (!application.trend) {
    return "-";
  }
  auto const seconds = seconds_until_written(*application.trend, left.bytes);
  return seconds ? duration_text(*seconds) : "never";
}

template <typename Text_of>
Column column(std::string heading, std::vector<Application> const& applications, bool may_go, Text_of text_of) {
  auto const heading_width = cells(heading);
  Column result{std::move(heading), {}, may_go, heading_width};
  for (auto const& application : applications) {
    auto const& text = result.texts.emplace_back(text_of(application));
    result.width = std::max(result.width, cells(text));
  }
  return result;
}

/// All columns between the name and the bar.
std::vector<Column> number_columns(Overview const& overview, Amount_style amounts) {
  auto const& all = overview.applications;
  bool const watching = overview.watching;
  std::vector<Column> columns{
      column("SCID", all, false, [](auto const& a) { return std::to_string(a.figures.scid); }),
      column("Session", all, watching, [=](auto const& a) { return amount_text(a.figures.session_write, amounts); }),
      column("Total", all, false, [=](auto const& a) { return amount_text(a.figures.total_write, amounts); }),
      column("Limit", all, watching, [=](auto const& a) { return amount_text(a.figures.soft_limit, amounts); }),
      column("Left", all, false,
             [=](auto const& a) {
               return remainder_text(remainder_of(a.figures.soft_limit, a.figures.total_write), amounts);
             }),
      column("Used", all, false,
             [](auto const& a) { return share_text(a.figures.soft_limit, a.figures.total_write); })};
  if (watching) {
    columns.push_back(column("Rate", all, false, [=](auto const& a) { return rate_text(a, amounts); }));
    columns.push_back(column("Used up in", all, false, [](auto const& a) { return forecast_text(a); }));
  }
  return columns;
}

std::size_t width_of(std::vector<Column> const& columns) {
  std::size_t width = 0;
  for (auto const& each : columns) {
    width += gap + each.width;
  }
  return width;
}

/// What the columns are, and how the room that the numbers leave is shared between names and bars.
struct Layout {
  std::vector<Column> numbers;
  std::size_t name_width = 0;
  std::size_t bar_width = 0;
};

Layout lay_out(Overview const& overview, Table_style const& style) {
  Layout layout{number_columns(overview, style.amounts), shortest_name, 0};
  auto const least = shortest_name + gap + shortest_bar;
  auto& numbers = layout.numbers;
  for (auto each = numbers.begin(); each != numbers.end() && width_of(numbers) + least > style.width;) {
    each = each->may_go ? numbers.erase(each) : std::next(each);
  }
  auto longest = shortest_name;
  for (auto const& application : overview.applications) {
    longest = std::max(longest, cells(application.label));
  }
  auto const taken = width_of(numbers);
  auto const room = style.width > taken ? style.width - taken : 0;
  if (room >= least) {
    layout.name_width = std::min(longest, room - gap - shortest_bar);
    layout.bar_width = std::min(longest_bar, room - gap - layout.name_width);
  } else {
    layout.name_width = std::max(shortest_name, std::min(longest, room));
  }
  return layout;
}

std::string to_the_left(std::string const& text, std::size_t width) {
  auto const shown = cut_to(text, width);
  return shown + std::string(width - cells(shown), ' ');
}

std::string to_the_right(std::string const& text, std::size_t width) {
  return std::string(gap + width - cells(text), ' ') + text;
}

std::string bar(Report_entry const& figures, std::size_t width) {
  if (exceeds(figures)) {
    return exceeded_mark;
  }
  auto const filled = share_cells(figures.soft_limit, figures.total_write, width);
  return std::string(filled, '#') + std::string(width - filled, '.');
}

std::string headings(Layout const& layout) {
  auto line = to_the_left("Application", layout.name_width);
  for (auto const& each : layout.numbers) {
    line += to_the_right(each.heading, each.width);
  }
  return line;
}

std::string row(Application const& application, std::size_t index, Layout const& layout, Table_style const& style) {
  auto line = to_the_left(application.label, layout.name_width);
  for (auto const& each : layout.numbers) {
    line += to_the_right(each.texts[index], each.width);
  }
  auto const& figures = application.figures;
  auto const ending = layout.bar_width == 0 ? "" : std::string(gap, ' ') + bar(figures, layout.bar_width);
  if (exceeds(figures)) {
    return coloured(line + ending, bold_red, style);
  }
  bool const nearly = share_reaches(figures.soft_limit, figures.total_write, nearly_used_up_percent);
  return line + coloured(ending, nearly ? yellow : green, style);
}

/// `heading` and `text` in lines of the width, all but the first set in by the heading's length.
std::string paragraph(std::string const& heading, std::string const& text, std::size_t width) {
  std::string result;
  for (auto const& line : wrap(text, width - cells(heading))) {
    result += (result.empty() ? heading : '\n' + std::string(cells(heading), ' ')) + line;
  }
  return result;
}

}  // namespace

std::string table_text(Overview const& overview, Table_style const& style) {
  auto const count = overview.applications.size();
  std::string text = "Flash writes of " + std::to_string(count) + (count == 1 ? " application" : " applications") +
                     ", read from " + overview.machine +
                     (style.amounts == Amount_style::exact_bytes ? ", in bytes\n" : "\n");
  for (auto const& line : overview.verdict) {
    auto const heading = overview.budget_exceeded ? exceeded_mark + std::string{": "} : std::string{};
    text += coloured(paragraph(heading, line, style.width), overview.budget_exceeded ? bold_red : green, style) + '\n';
  }
  if (count > 0) {
    auto const layout = lay_out(overview, style);
    text += '\n' + coloured(headings(layout), bold, style) + '\n';
    for (std::size_t i = 0; i < count; ++i) {
      text += row(overview.applications[i], i, layout, style) + '\n';
    }
  }
  text += overview.notes.empty() ? "" : "\n";
  for (auto const& note : overview.notes) {
    text += paragraph("Note: ", note, style.width) + '\n';
  }
  return text;
}

}  // namespace flashwatch_read
