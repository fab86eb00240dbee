// SPDX-License-Identifier: Apache-2.0
// What is read out of a report, and what two reports say about the time between them.
#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "machine/flashwatch_read/report.h"
#include "machine/flashwatch_read/trend.h"

namespace flashwatch_read {
namespace {

using namespace std::chrono_literals;

constexpr auto top = std::numeric_limits<std::uint64_t>::max();

TEST(AReport, IsReadToItsLastWholeEntryWhereverItIsCut) {
  std::vector<std::uint8_t> record{2};
  for (std::uint8_t byte = 1; byte <= 64; ++byte) {
    record.push_back(byte);
  }

  for (std::size_t length = 1; length <= record.size(); ++length) {
    auto const report = parse_report({record.begin(), record.begin() + static_cast<std::ptrdiff_t>(length)});
    ASSERT_TRUE(report);
    EXPECT_EQ(report->announced, 2);
    EXPECT_EQ(report->entries.size(), (length - 1) / 32);
    EXPECT_EQ(report->left_over_bytes, (length - 1) % 32);
  }

  EXPECT_FALSE(parse_report({}));
  auto const second = parse_report(record)->entries.at(1);
  EXPECT_EQ(second.scid, 0x2122232425262728U);
  EXPECT_EQ(second.soft_limit, 0x292A2B2C2D2E2F30U);
  EXPECT_EQ(second.total_write, 0x3132333435363738U);
  EXPECT_EQ(second.session_write, 0x393A3B3C3D3E3F40U);
}

TEST(AReport, SaysHowManyApplicationsThereAre) {
  using Kind = Completeness::Kind;
  // What the sender makes of every number of applications has to be understood.
  for (std::size_t applications = 0; applications <= 1024; ++applications) {
    auto const blocks = applications / 256;
    auto const rest = applications % 256;
    Report const report{static_cast<std::uint8_t>(rest < 15 ? rest : 15),
                        std::vector<Report_entry>(blocks * 15 + (rest < 15 ? rest : 15)), 0};
    auto const found = completeness_of(report);
    if (rest < 15) {
      EXPECT_EQ(found.kind, blocks == 0 ? Kind::complete : Kind::part_of_known);
      EXPECT_EQ(found.applications, applications);
    } else {
      EXPECT_EQ(found.kind, blocks == 0 ? Kind::full : Kind::part_of_at_least);
      EXPECT_EQ(found.applications, blocks * 256 + 15);
    }
  }
  for (auto const& [announced, entries] : {std::pair{3, 2}, {2, 3}, {16, 16}, {15, 14}, {255, 255}, {1, 15}}) {
    Report const report{static_cast<std::uint8_t>(announced), std::vector<Report_entry>(std::size_t(entries)), 0};
    EXPECT_EQ(completeness_of(report).kind, Kind::contradiction) << announced << ' ' << entries;
  }
}

TEST(ATrend, IsExactOverTheWholeRange) {
  struct Row {
    std::uint64_t written;
    std::chrono::nanoseconds elapsed;
    std::uint64_t left, rate;
    std::optional<std::uint64_t> seconds;
  };
  std::vector<Row> const rows{
      {0, 1s, 5, 0, std::nullopt}, {10, 4s, 100, 2, 40},  {1, 3s, 0, 0, 0}, {top, 1ns, top, top, 0},
      {top, 1s, top, top, 1},      {1, 24h, top, 0, top}, {3, 2s, 10, 1, 6}};
  for (auto const& row : rows) {
    EXPECT_EQ(rate_of({row.written, row.elapsed}), row.rate);
    EXPECT_EQ(seconds_until_written({row.written, row.elapsed}, row.left), row.seconds);
  }
}

Reading reading(std::chrono::seconds at, std::vector<Report_entry> entries) {
  return {{static_cast<std::uint8_t>(entries.size()), std::move(entries), 0},
          false,
          std::chrono::steady_clock::time_point{} + at,
          false};
}

TEST(Trends, AreFoundOnlyWhereAnApplicationIsSurelyTheSame) {
  // {SCID, limit, total, session}: 1 goes on, 2 is new, 3 began anew, both with 4 go on, 5 has got company.
  auto const before = reading(10s, {{4, 0, 70, 0}, {1, 0, 10, 0}, {3, 0, 50, 0}, {4, 0, 7, 0}, {5, 0, 1, 0}});
  auto const now = reading(
      12s, {{1, 0, 30, 0}, {2, 0, 20, 0}, {3, 0, 49, 0}, {4, 0, 71, 0}, {4, 0, 9, 0}, {5, 0, 1, 0}, {5, 0, 1, 0}});

  std::vector<std::optional<std::uint64_t>> written;
  for (auto const& trend : trends_between(before, now)) {
    written.push_back(trend ? std::optional{trend->written} : std::nullopt);
    EXPECT_TRUE(!trend || trend->elapsed == 2s);
  }

  auto const none = std::optional<std::uint64_t>{};
  EXPECT_THAT(written, ::testing::ElementsAre(20U, none, none, 1U, 2U, none, none));
  EXPECT_THAT(trends_between(now, now), ::testing::Each(::testing::Eq(std::nullopt)));
}

}  // namespace
}  // namespace flashwatch_read
