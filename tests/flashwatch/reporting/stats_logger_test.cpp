// SPDX-License-Identifier: Apache-2.0
// The lines of the "DATA" context, once the limits, then the figures; and who asks for them.
#include "flashwatch/reporting/stats_logger.h"

#include <locale>

#include "ara/log/logging.h"
#include "flashwatch/reporting/non_periodic_stats.h"
#include "flashwatch/reporting/periodic_stats.h"
#include "tests/flashwatch/mocks/neighbours.h"
#include "tests/flashwatch/room_test.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using ara::log::LogLevel;
using Lines = std::vector<std::string>;

struct AStatsLogger : Room_test {
  template <typename... Pieces>
  static std::string line(LogLevel level, Pieces const&... pieces) {
    return log_line("DATA", level, std::string(pieces)...);
  }
  static Lines figures(LogLevel level) {
    return {line(level, "nav", "session(100, 3)", "total(1200, 35)", "budget(-200, -1201)"),
            line(level, "media", "session(0, 0)", "total(1200, 0)", "budget(0, 100)")};
  }

  std::vector<Stat_record> const records_{{"nav", 100, 3, 1200, 35, {1000, 18446744073709551615U}, {500, 800}, 3},
                                          {"media", 0, 0, 1200, 0, {1200, 1300}, {1, 2}, 1}};
  Lines const limits_{
      line(LogLevel::kInfo, "nav", "year limits(500, 800)", "acc limits(1000, 18446744073709551615)", "year in use(3)"),
      line(LogLevel::kInfo, "media", "year limits(1, 2)", "acc limits(1200, 1300)", "year in use(1)")};
};

TEST_F(AStatsLogger, LogsTheLimitsBeforeTheFirstInfoOnlyWhateverTheLocaleAndTheDebugLevel) {
  struct Grouped : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  auto const before = std::locale::global(std::locale(std::locale(), new Grouped));
  Stats_logger logger;
  logger.debug_log_stats(records_);
  logger.info_log_stats(records_);
  logger.info_log_stats(records_);
  ara::log::CreateLogger("DATA", "").set_level(LogLevel::kInfo);
  logger.debug_log_stats(records_);
  ara::log::CreateLogger("DATA", "").set_level(LogLevel::kVerbose);
  std::locale::global(before);

  auto expected = figures(LogLevel::kDebug);
  for (auto const& lines : {limits_, figures(LogLevel::kInfo), figures(LogLevel::kInfo)}) {
    expected.insert(expected.end(), lines.begin(), lines.end());
  }
  EXPECT_EQ(script::log(), expected);
  EXPECT_EQ(journal().front(), "log.CreateLogger(DATA, Logging context for statistics data)");
}

TEST_F(AStatsLogger, NeverLogsLimitsWhenTheFirstInfoHadNoRecords) {
  Stats_logger logger;
  logger.info_log_stats({});
  logger.info_log_stats(records_);
  EXPECT_EQ(script::log(), figures(LogLevel::kInfo));
}

TEST_F(AStatsLogger, IsFedByTheReadoutThatCannotFailUntilTheEndOfTheService) {
  auto const supervision = std::make_shared<StrictMock<Stats_annual_supervision_mock>>();
  auto const logger = std::make_shared<StrictMock<Stats_logger_mock>>();
  EXPECT_CALL(*supervision, get_stats_safe).WillOnce(Return(std::vector<Stat_record>(2)));
  EXPECT_CALL(*logger, info_log_stats(SizeIs(2)));
  Periodic_stats(supervision, logger).log_stats();

  EXPECT_CALL(*supervision, get_stats).WillOnce(Throw(std::runtime_error("no answer")));
  EXPECT_THROW(Non_periodic_stats(supervision, logger).on_shutdown(), std::runtime_error);
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
