// SPDX-License-Identifier: Apache-2.0
// The lines of the "DATA" context: once the limits, then the figures.
#include "flashwatch/reporting/stats_logger.h"

#include <locale>

#include <gmock/gmock.h>

#include "ara/log/logging.h"
#include "tests/scripted_platform/script.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using ara::log::LogLevel;
using ::testing::ElementsAre;

struct AStatsLogger : ::testing::Test {
  void SetUp() override { script::reset(); }

  template <typename... Pieces>
  static std::string line(LogLevel level, Pieces const&... pieces) {
    return script::log_line("DATA", level, std::string(pieces)...);
  }

  Stat_record const nav_{"nav", 100, 3, 1200, 35, {1000, 18446744073709551615U}, {500, 800}, 3};
  Stat_record const media_{"media", 0, 0, 1200, 0, {1200, 1300}, {1, 2}, 1};
  std::vector<std::string> const limits_{
      line(LogLevel::kInfo, "nav", "year limits(500, 800)", "acc limits(1000, 18446744073709551615)", "year in use(3)"),
      line(LogLevel::kInfo, "media", "year limits(1, 2)", "acc limits(1200, 1300)", "year in use(1)")};

  static std::vector<std::string> figures(LogLevel level) {
    return {line(level, "nav", "session(100, 3)", "total(1200, 35)", "budget(-200, -1201)"),
            line(level, "media", "session(0, 0)", "total(1200, 0)", "budget(0, 100)")};
  }
};

TEST_F(AStatsLogger, LogsTheLimitsBeforeTheFirstFiguresOnly) {
  struct Grouped : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  auto const before = std::locale::global(std::locale(std::locale(), new Grouped));
  Stats_logger logger;
  logger.info_log_stats({nav_, media_});
  logger.info_log_stats({nav_, media_});
  std::locale::global(before);

  auto expected = limits_;
  for (int i = 0; i < 2; ++i) {
    for (auto const& figure : figures(LogLevel::kInfo)) {
      expected.push_back(figure);
    }
  }
  EXPECT_EQ(script::log(), expected);
  EXPECT_EQ(script::journal().front(), "log.CreateLogger(DATA, Logging context for statistics data)");
}

TEST_F(AStatsLogger, LogsDebugFiguresWithoutLimitsAndKeepsThemForTheFirstInfo) {
  Stats_logger logger;
  logger.debug_log_stats({nav_, media_});
  EXPECT_EQ(script::log(), figures(LogLevel::kDebug));
  logger.info_log_stats({nav_});
  EXPECT_THAT(script::log(), ::testing::Contains(limits_.front()));

  auto& context = ara::log::CreateLogger("DATA", "");
  context.set_level(LogLevel::kInfo);
  script::reset();
  logger.debug_log_stats({nav_});
  EXPECT_THAT(script::log(), ElementsAre());
  context.set_level(LogLevel::kVerbose);
}

TEST_F(AStatsLogger, NeverLogsLimitsWhenTheFirstInfoHadNoRecords) {
  Stats_logger logger;
  logger.info_log_stats({});
  logger.info_log_stats({nav_, media_});
  EXPECT_EQ(script::log(), figures(LogLevel::kInfo));
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
