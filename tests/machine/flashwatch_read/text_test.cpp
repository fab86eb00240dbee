// SPDX-License-Identifier: Apache-2.0
// Numbers and names as text: the roundings at their edges, and nothing from outside that could steer a terminal.
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "machine/flashwatch_read/amounts.h"
#include "machine/flashwatch_read/options.h"
#include "machine/flashwatch_read/printable.h"
#include "machine/flashwatch_read/scid_names.h"

namespace flashwatch_read {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr auto top = std::numeric_limits<std::uint64_t>::max();

TEST(Amounts, RoundTowardsZeroInTheirUnit) {
  struct Row {
    std::uint64_t bytes;
    char const* text;
  };
  std::vector<Row> const rows{{0, "0 B"},
                              {1023, "1023 B"},
                              {1024, "1.00 KiB"},
                              {10239, "9.99 KiB"},
                              {10240, "10.0 KiB"},
                              {102399, "99.9 KiB"},
                              {1048575, "1023 KiB"},
                              {1048576, "1.00 MiB"},
                              {std::uint64_t{1} << 60U, "1.00 EiB"},
                              {top, "15.9 EiB"}};
  for (auto const& row : rows) {
    EXPECT_EQ(amount_text(row.bytes, Amount_style::units), row.text) << row.bytes;
  }
  EXPECT_EQ(amount_text(top, Amount_style::exact_bytes), "18446744073709551615");
}

TEST(Shares, NeverHideWhetherTheLimitIsExceeded) {
  struct Row {
    std::uint64_t limit, written;
    char const *share, *left;
    std::size_t cells_of_8;
  };
  std::vector<Row> const rows{{0, 0, "-", "0", 0},
                              {0, 1, "-", "-1", 8},
                              {0, top, "-", "-18446744073709551615", 8},
                              {1000, 0, "0%", "1000", 0},
                              {1000, 1, "<1%", "999", 0},
                              {1000, 999, "99%", "1", 7},
                              {1000, 1000, "100%", "0", 8},
                              {1000, 1001, "101%", "-1", 8},
                              {1000, 9990, "999%", "-8990", 8},
                              {1000, 9991, ">999%", "-8991", 8},
                              {top, top - 1, "99%", "1", 7},
                              {top - 1, top, "101%", "-1", 8},
                              {1, top, ">999%", "-18446744073709551614", 8}};
  for (auto const& row : rows) {
    EXPECT_EQ(share_text(row.limit, row.written), row.share) << row.limit << ' ' << row.written;
    EXPECT_EQ(remainder_text(remainder_of(row.limit, row.written), Amount_style::exact_bytes), row.left);
    EXPECT_EQ(share_cells(row.limit, row.written, 8), row.cells_of_8) << row.limit << ' ' << row.written;
  }
}

TEST(Durations, ShowTheirTwoLargestUnits) {
  struct Row {
    std::uint64_t seconds;
    char const* text;
  };
  std::vector<Row> const rows{
      {0, "0 s"},           {59, "59 s"},          {60, "1 m 00 s"},    {3599, "59 m 59 s"},
      {3600, "1 h 00 m"},   {86399, "23 h 59 m"},  {86400, "1 d 00 h"}, {31556951, "365 d 05 h"},
      {31556952, "1 year"}, {63113904, "2 years"}, {top, ">100 years"}};
  for (auto const& row : rows) {
    EXPECT_EQ(duration_text(row.seconds), row.text);
  }
}

TEST(TextFromOutside, CannotSteerATerminal) {
  struct Row {
    std::string text, printed;
    std::size_t width;
  };
  std::vector<Row> const rows{{"navigation", "navigation", 10},
                              {"\x1b[2J", "\\u{1B}[2J", 9},
                              {std::string{"a\0b\n", 4}, "a\\u{0}b\\u{A}", 12},
                              {"\x7f\xc2\x9b", R"(\u{7F}\u{9B})", 12},
                              {"\xe2\x80\xae", "\\u{202E}", 8},
                              {"\u5730\u56f3", "\u5730\u56f3", 4},
                              {"e\u0301", "e\u0301", 1},
                              {"\xc3", "\\xC3", 4},
                              {"\xc0\xaf", R"(\xC0\xAF)", 8},
                              {"\xed\xa0\x80", R"(\xED\xA0\x80)", 12},
                              {"\xf4\x90\x80\x80", R"(\xF4\x90\x80\x80)", 16}};
  for (auto const& row : rows) {
    EXPECT_EQ(printable(row.text), row.printed);
    EXPECT_EQ(cells(row.printed), row.width) << row.printed;
  }
  EXPECT_EQ(cut_to("\u5730\u56f3\u5730", 6), "\u5730\u56f3\u5730");
  EXPECT_EQ(cut_to("\u5730\u56f3\u5730", 5), "\u5730\u56f3~");
  EXPECT_EQ(cut_to("\u5730\u56f3\u5730", 4), "\u5730~");
  EXPECT_THAT(wrap("one two three-four five", 7), ElementsAre("one two", "three-four", "five"));
}

TEST(ScidNames, AreReadAsTheServiceReadsThem) {
  auto const names = Scid_names::from_text(
      R"({"mappings": [{"app_name": "b", "scid": 7}, {"app_name": "a", "scid": 7.9}, {"app_name": "b", "scid": 8},
          {"app_name": "minus", "scid": -1}, {"app_name": "top", "scid": 1e300}, {"app_name": "low", "scid": -1e300},
          5, {"app_name": 1, "scid": 1}, {"app_name": "x", "scid": "1"}, {"app_name": "y", "scid": true}, {"scid": 3}]})",
      "f");
  EXPECT_THAT(names.of(7), ElementsAre("a", "b"));
  EXPECT_THAT(names.of(8), IsEmpty());
  EXPECT_THAT(names.of(top), ElementsAre("minus", "top"));
  EXPECT_THAT(names.of(0), ElementsAre("low"));
  EXPECT_THAT(names.problem(), HasSubstr("5 entries are unusable"));
}

TEST(ScidNames, AreMissingForAReason) {
  struct Row {
    char const *text, *problem;
  };
  std::vector<Row> const rows{
      {"", "is not valid JSON"}, {"[", "is not valid JSON"}, {"[]", "no member"}, {"{}", "no member"}};
  for (auto const& row : rows) {
    auto const names = Scid_names::from_text(row.text, "f");
    EXPECT_THAT(names.problem(), HasSubstr(row.problem));
    EXPECT_FALSE(names.usable());
  }
  EXPECT_TRUE(Scid_names::from_text(R"({"mappings": null})", "f").usable());
  EXPECT_THAT(Scid_names::from_file("/dev/zero").problem(), HasSubstr("larger than 4 MiB"));
}

TEST(Options, TakeTheIntervalFromTheNextArgumentOnlyIfItIsANumber) {
  using std::chrono::milliseconds;
  struct Row {
    std::vector<std::string> arguments;
    int interval;
    char const* host;
  };
  std::vector<Row> const rows{{{"--watch"}, 2000, "127.0.20.3"}, {{"--watch", "5"}, 5000, "127.0.20.3"},
                              {{"--watch=0.25", "h"}, 250, "h"}, {{"-w", "h"}, 2000, "h"},
                              {{"h", "-w", "1"}, 1000, "h"},     {{"--watch", "10.0.0.1"}, 2000, "10.0.0.1"}};
  for (auto row : rows) {
    row.arguments.insert(row.arguments.begin(), "flashwatch_read");
    auto const options = parse_options(row.arguments);
    EXPECT_EQ(options.watch, milliseconds{row.interval});
    EXPECT_EQ(options.remote.host, row.host);
  }
}

}  // namespace
}  // namespace flashwatch_read
