// SPDX-License-Identifier: Apache-2.0
// A line on the console: one line whatever is logged, readable, and never able to steer a terminal.
#include "platform/src/log/console_line.h"

#include <chrono>
#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using linux_platform::log::Console_line;
using linux_platform::log::Piece;

std::string line_of(Piece const& piece) {
  Console_line line;
  line.append(piece);
  return std::string(line.finish());
}

TEST(AConsoleLine, EscapesWhatIsNotText) {
  for (auto const& [text, shown] : {
           std::pair{"plain ~ text"s, "plain ~ text"s},
           {"a\n\r\t\\b", R"(a\n\r\t\\b)"},
           {"\0\x1b[31m\x7f"s, R"(\x00\x1b[31m\x7f)"},
           {"\u00e9\u20ac\U0001F600", "\u00e9\u20ac\U0001F600"},
           {"\u009b31m \u00a0", "\\xc2\\x9b31m \u00a0"},
           {"\x80 \xff \xc3", R"(\x80 \xff \xc3)"},
           {"\xc0\xaf \xe0\x80\xaf \xed\xa0\x80 \xf4\x90\x80\x80",
            R"(\xc0\xaf \xe0\x80\xaf \xed\xa0\x80 \xf4\x90\x80\x80)"},
           {"\xe2\x82", R"(\xe2\x82)"},
       }) {
    EXPECT_EQ(line_of(std::string_view(text)), shown + "\n");
  }
}

TEST(AConsoleLine, ShowsNumbersInFull) {
  EXPECT_EQ(line_of(true), "true\n");
  EXPECT_EQ(line_of(std::int8_t{65}), "65\n");
  EXPECT_EQ(line_of(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808\n");
  EXPECT_EQ(line_of(0.1F), "0.1\n");
  EXPECT_EQ(line_of(-std::numeric_limits<double>::infinity()), "-inf\n");
}

TEST(AConsoleLine, IsCutBeforeItOutgrowsWhatAPipeTakesAtOnce) {
  auto const line = line_of(std::string_view(std::string(1383, '\x1b')));

  EXPECT_LE(line.size(), 4096U);
  EXPECT_GT(line.size(), 4080U);
  EXPECT_EQ(line.substr(line.size() - 10), "\\x1b[cut]\n");
}

TEST(AConsoleLine, HasTheTimeInUtc) {
  Console_line line;
  line.append_time(std::chrono::system_clock::time_point(std::chrono::microseconds(1'795'245'600'048'678)));

  EXPECT_EQ(line.finish(), "2026-11-21T07:20:00.048678Z\n");
}

}  // namespace
