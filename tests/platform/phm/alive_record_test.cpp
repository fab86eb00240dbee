// SPDX-License-Identifier: Apache-2.0
// The judgement of checkpoint rhythms, on a clock that the test owns.
#include "platform/src/phm/alive_record.h"

#include <vector>

#include <gtest/gtest.h>

#include "ara/phm/supervision_entity.h"

namespace {

namespace status = ara::phm::supervision_status;
using std::chrono::milliseconds;

struct Step {
  std::uint16_t entity;
  int at_ms;
  bool told;
  std::uint8_t expected;
};

TEST(AnAliveRecord, JudgesEachCheckpointByItsPredecessorOfTheSameEntity) {
  linux_platform::phm::Alive_record record(milliseconds(90'000));
  std::vector<Step> const steps = {
      {1, 500'000, true, status::ok},               // the first one, however late after the start
      {1, 590'000, true, status::ok},               // exactly the window
      {1, 680'001, true, status::checkpoint_late},  // 1 ms more
      {1, 740'001, true, status::ok},               // in time again
      {7, 990'000, true, status::ok},               // another entity's first
      {1, 990'000, false, status::checkpoint_late},
      {1, 990'000, false, status::not_reported},
      {7, 990'001, true, status::ok},
  };
  EXPECT_EQ(record.status(1), status::unknown_entity);
  for (auto const& step : steps) {
    record.add(step.entity, linux_platform::phm::Alive_record::Time_point(milliseconds(step.at_ms)), step.told);
    EXPECT_EQ(record.status(step.entity), step.expected) << "entity " << step.entity << " at " << step.at_ms;
  }
  EXPECT_EQ(record.status(0), status::unknown_entity);
}

}  // namespace
