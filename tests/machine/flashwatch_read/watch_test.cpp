// SPDX-License-Identifier: Apache-2.0
// The course of a watch, in a time that the test makes.
#include "machine/flashwatch_read/watch.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "machine/flashwatch_read/read_error.h"
#include "machine/flashwatch_read/table.h"
#include "machine/flashwatch_read/terminal_display.h"

namespace flashwatch_read {
namespace {

using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

/// One attempt to read: the total of SCID 1, whose limit is 1000, or none for a failure; and how long it takes.
struct Attempt {
  std::optional<std::uint64_t> total;
  std::chrono::milliseconds takes{0};
};

/// Plays attempts one after the other; the user stops it after the last.
class Scripted_source final : public Figure_source_if {
 public:
  explicit Scripted_source(std::vector<Attempt> attempts) : attempts_{std::move(attempts)} {}

  Reading read() override {
    auto const attempt = attempts_.at(next_++);
    now_ += attempt.takes;
    if (!attempt.total) {
      throw Read_error{"reading something: gone"};
    }
    return {{1, {{1, 1000, *attempt.total, 0}}, 0}, *attempt.total > 1000, now_, false};
  }
  Deadline now() const override { return now_; }
  void pause_until(Deadline then) override {
    pauses.push_back(std::chrono::duration_cast<std::chrono::milliseconds>(then - now_).count());
    now_ = then;
    if (next_ == attempts_.size()) {
      throw Stop_requested{};
    }
  }

  std::vector<std::int64_t> pauses;

 private:
  std::vector<Attempt> attempts_;
  std::size_t next_ = 0;
  Deadline now_;
};

class Recording_display final : public Display_if {
 public:
  void show(Overview const& overview) override {
    auto const& trend = overview.applications.at(0).trend;
    shown.push_back(trend ? std::to_string(rate_of(*trend)) + " B/s" : "no rate");
  }
  void show_trouble(std::string const& text) override { shown.push_back(text); }

  std::vector<std::string> shown;
};

struct A_watch : ::testing::Test {
  Exit_code run(Scripted_source& source) { return watch(source, display, Scid_names{}, {"here", true, {}}, 2s); }

  Recording_display display;
};

TEST_F(A_watch, ComparesWithTheLastReadingThatSucceeded) {
  Scripted_source source{{{100}, {300}, {std::nullopt}, {900}}};

  EXPECT_EQ(run(source), Exit_code::fine);

  EXPECT_THAT(display.shown,
              ElementsAre("no rate", "100 B/s", "reading something: gone; trying again every 2 s", "150 B/s"));
}

TEST_F(A_watch, KeepsItsPaceAndDoesNotCatchUp) {
  Scripted_source source{{{1}, {2, 500ms}, {3, 3000ms}, {4}}};

  run(source);

  EXPECT_THAT(source.pauses, ElementsAre(2000, 1500, 0, 2000));
}

TEST_F(A_watch, EndsWithWhatItsLastAttemptCameTo) {
  Scripted_source exceeded{{{1}, {1001}}};
  EXPECT_EQ(run(exceeded), Exit_code::budget_exceeded);
  Scripted_source failed{{{1001}, {std::nullopt}}};
  EXPECT_EQ(run(failed), Exit_code::could_not_read);
  Scripted_source never{{{std::nullopt}}};
  EXPECT_THROW(run(never), Read_error);
}

Overview overview_of(std::uint64_t total, std::optional<Trend> trend) {
  Overview overview{"here", true, {{{1, 1000, total, 5}, {"radio"}, "radio", trend}}, 1, false, {"Fine."}, {}};
  return overview;
}

TEST(TheTableOfAWatch, ForecastsWhenTheBudgetIsUsedUp) {
  struct Row {
    std::uint64_t total;
    std::optional<Trend> trend;
    char const* columns;
  };
  std::vector<Row> const rows{{0, std::nullopt, "0%     -           -  ........................"},
                              {400, Trend{20, 2s}, "10 B/s    1 m 00 s  #########..............."},
                              {400, Trend{0, 2s}, "0 B/s       never"},
                              {400, Trend{1, 2s}, "<1 B/s   20 m 00 s"},
                              {1000, Trend{20, 2s}, "10 B/s         0 s"},
                              {1001, Trend{20, 2s}, "10 B/s        over"}};
  for (auto const& row : rows) {
    EXPECT_THAT(table_text(overview_of(row.total, row.trend), {120}), HasSubstr(row.columns));
  }
}

TEST(TheTableOfAWatch, GivesUpColumnsWhereThereIsNoRoom) {
  auto const overview = overview_of(400, Trend{20, 2s});
  EXPECT_THAT(table_text(overview, {120}), AllOf(HasSubstr("Session"), HasSubstr("Limit"), HasSubstr("Used up in")));
  EXPECT_THAT(table_text(overview, {70}), AllOf(Not(HasSubstr("Session")), HasSubstr("Used up in")));
}

TEST(ATerminal, ShowsNoMoreLinesThanItHas) {
  std::ostringstream terminal;
  {
    Terminal_display display{terminal, [] { return Terminal_size{80, 3}; }, {}};
    display.show(overview_of(400, {}));
    EXPECT_THAT(terminal.str(), HasSubstr("Fine.\x1b[K\r\n(3 more lines)\x1b[K\x1b[J"));
  }
  EXPECT_THAT(terminal.str(), HasSubstr("\x1b[?25h\x1b[?1049lFlash writes of 1 application"));
}

}  // namespace
}  // namespace flashwatch_read
