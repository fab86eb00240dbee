// SPDX-License-Identifier: Apache-2.0
// The course of a watch in a time that the test makes, and what two readings say about the time between them.
#include "machine/flashwatch_read/watch.h"

#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "machine/flashwatch_read/read_error.h"
#include "machine/flashwatch_read/table.h"
#include "machine/flashwatch_read/terminal_display.h"

namespace flashwatch_read {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// Plays attempts to read, each the total of SCID 1, whose limit is 1000, or none for a failure, and how long it takes.
/// The user stops it after the last.
struct Scripted_source final : Figure_source_if {
  using Attempt = std::pair<std::optional<std::uint64_t>, std::chrono::milliseconds>;
  explicit Scripted_source(std::vector<Attempt> script) : attempts{std::move(script)} {}

  Reading read() override {
    auto const& [total, takes] = attempts.at(next++);
    time += takes;
    return total ? Reading{{1, {{1, 1000, *total, 0}}, 0}, *total > 1000, time, false}
                 : throw Read_error{"reading something: gone"};
  }
  Deadline now() const override { return time; }
  void pause_until(Deadline then) override {
    pauses.push_back((then - time) / 1ms);
    time = then;
    if (next == attempts.size()) {
      throw Stop_requested{};
    }
  }

  std::vector<Attempt> attempts;
  std::size_t next = 0;
  Deadline time;
  std::vector<std::int64_t> pauses;
};

struct Recording_display final : Display_if {
  void show(Overview const& overview) override {
    auto const& trend = overview.applications.at(0).trend;
    shown += trend ? std::to_string(rate_of(*trend)) + " B/s; " : "no rate; ";
  }
  void show_trouble(std::string const& text) override { shown += text + "; "; }
  std::string shown;
};

Exit_code run(Scripted_source& source, Recording_display&& display = {}) {
  return watch(source, display, Scid_names{}, {"here", true, {}}, 2s);
}

TEST(AWatch, ComparesWithTheLastReadingThatSucceededAndKeepsItsPace) {
  Scripted_source source{{{100, 0s}, {300, 0s}, {std::nullopt, 0s}, {900, 500ms}, {901, 3000ms}, {902, 0s}}};
  Recording_display display;
  EXPECT_EQ(watch(source, display, Scid_names{}, {"here", true, {}}, 2s), Exit_code::fine);
  EXPECT_EQ(display.shown,
            "no rate; 100 B/s; reading something: gone; trying again every 2 s; 133 B/s; 0 B/s; no rate; ");
  EXPECT_THAT(source.pauses, ElementsAre(2000, 2000, 2000, 1500, 0, 2000));
}

TEST(AWatch, EndsWithWhatItsLastAttemptCameTo) {
  Scripted_source exceeded{{{1, 0s}, {1001, 0s}}};
  EXPECT_EQ(run(exceeded), Exit_code::budget_exceeded);
  Scripted_source failed{{{1001, 0s}, {std::nullopt, 0s}}};
  EXPECT_EQ(run(failed), Exit_code::could_not_read);
  Scripted_source never{{{std::nullopt, 0s}}};
  EXPECT_THROW(run(never), Read_error);
}

TEST(Trends, AreFoundOnlyWhereAnApplicationIsSurelyTheSame) {
  auto const reading = [](std::chrono::seconds at, std::vector<Report_entry> entries) {
    return Reading{{0, std::move(entries), 0}, false, Deadline{} + at, false};
  };
  // {SCID, limit, total, session}: 1 goes on, 2 is new, 3 began anew, both with 4 go on, 5 has got company.
  auto const before = reading(10s, {{4, 0, 70, 0}, {1, 0, 10, 0}, {3, 0, 50, 0}, {4, 0, 7, 0}, {5, 0, 1, 0}});
  auto const now = reading(
      12s, {{1, 0, 30, 0}, {2, 0, 20, 0}, {3, 0, 49, 0}, {4, 0, 71, 0}, {4, 0, 9, 0}, {5, 0, 1, 0}, {5, 0, 1, 0}});
  std::string written;
  for (auto const& trend : trends_between(before, now)) {
    written += trend ? std::to_string(trend->written) + " in " + std::to_string(trend->elapsed / 1s) + " s, " : "-, ";
  }
  EXPECT_EQ(written, "20 in 2 s, -, -, 1 in 2 s, 2 in 2 s, -, -, ");
  EXPECT_THAT(trends_between(now, now), ::testing::Each(::testing::Eq(std::nullopt)));
}

Overview overview_of(std::uint64_t total, std::uint64_t limit, std::optional<Trend> trend) {
  return {"here", true, {{{1, limit, total, 5}, {"radio"}, "radio", trend}}, 1, false, {"Fine."}, {}};
}

TEST(TheTableOfAWatch, ForecastsWhenTheBudgetIsUsedUp) {
  auto const rows = nlohmann::json::parse(std::ifstream(ROWS));
  for (auto const& row : rows.at("forecasts")) {
    auto const trend = row.contains("written")
                           ? std::optional(Trend{row.at("written"), std::chrono::nanoseconds(row.at("in_ns"))})
                           : std::nullopt;
    auto const text = table_text(overview_of(row.at("total"), row.at("limit"), trend), {120});
    EXPECT_THAT(text, HasSubstr(row.at("shown").get<std::string>()));
  }
  EXPECT_THAT(table_text(overview_of(400, 1000, Trend{20, 2s}), {70}), testing::Not(HasSubstr("Session")));
}

TEST(ATerminal, ShowsNoMoreLinesThanItHas) {
  std::ostringstream terminal;
  {
    Terminal_display display{terminal, [] { return Terminal_size{80, 3}; }, {}};
    display.show(overview_of(400, 1000, {}));
    EXPECT_THAT(terminal.str(), HasSubstr("Fine.\x1b[K\r\n(3 more lines)\x1b[K\x1b[J"));
  }
  EXPECT_THAT(terminal.str(), HasSubstr("\x1b[?25h\x1b[?1049lFlash writes of 1 application"));
}

}  // namespace
}  // namespace flashwatch_read
