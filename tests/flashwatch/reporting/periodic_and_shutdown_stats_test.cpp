// SPDX-License-Identifier: Apache-2.0
// A cycle asks for what cannot fail, the end of the service for what may.
#include <stdexcept>

#include "flashwatch/reporting/non_periodic_stats.h"
#include "flashwatch/reporting/periodic_stats.h"
#include "tests/flashwatch/mocks/neighbours.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using ::testing::Return;
using ::testing::SizeIs;
using ::testing::StrictMock;
using ::testing::Throw;

struct StatisticsLogging : ::testing::Test {
  std::shared_ptr<StrictMock<Stats_annual_supervision_mock>> supervision_ =
      std::make_shared<StrictMock<Stats_annual_supervision_mock>>();
  std::shared_ptr<StrictMock<Stats_logger_mock>> logger_ = std::make_shared<StrictMock<Stats_logger_mock>>();
};

TEST_F(StatisticsLogging, OfACycleUsesTheReadoutThatCannotFail) {
  EXPECT_CALL(*supervision_, get_stats_safe).WillOnce(Return(std::vector<Stat_record>(2)));
  EXPECT_CALL(*logger_, info_log_stats(SizeIs(2)));
  Periodic_stats(supervision_, logger_).log_stats();
}

TEST_F(StatisticsLogging, OfTheEndLetsAFailedReadoutPass) {
  EXPECT_CALL(*supervision_, get_stats)
      .WillOnce(Return(std::vector<Stat_record>(3)))
      .WillOnce(Throw(std::runtime_error("no answer")));
  EXPECT_CALL(*logger_, info_log_stats(SizeIs(3)));
  Non_periodic_stats stats(supervision_, logger_);
  stats.on_shutdown();
  EXPECT_THROW(stats.on_shutdown(), std::runtime_error);
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
