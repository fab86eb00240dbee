// SPDX-License-Identifier: Apache-2.0
// What elements promise that no run of the whole service shows.
#include <atomic>
#include <chrono>

#include <gtest/gtest.h>

#include "flashwatch/app/stats_service_elems_factory.h"
#include "flashwatch/config/periodic_logging_conf.h"
#include "flashwatch/stats/persistent_storage.h"
#include "tests/scripted_platform/script.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using namespace std::chrono_literals;

TEST(ARetryPolicy, SleepsOnceInTheSearchAndNeverInAPeriodBelowOneMinute) {
  script::reset();
  Stats_service_elems_factory const factory;
  for (bool const stopped : {false, true}) {
    std::atomic<bool> const stop{stopped};
    EXPECT_EQ(factory.create_sleep_interrupt_policy(1s, stop)->retry(), !stopped);
    for (auto const period : {0min, -1min}) {
      EXPECT_EQ(factory.create_sleep_alive_supervised_interrupt_policy(period, stop)->retry(), !stopped);
      EXPECT_TRUE(factory.create_sleep_alive_supervised_policy(period)->retry());
    }
  }
  EXPECT_EQ(script::journal("sleep|Checkpoint"), "posix.sleep(1)\n");
}

TEST(APeriodOfTheLog, IsHalfAnHourWhenThereIsNone) { EXPECT_EQ(Periodic_logging_conf(0min).get_period(), 30min); }

TEST(APersistentStorage, FlushesAtEverySyncAfterAWrite) {
  script::reset();
  Persistent_storage storage;
  storage.create("nav", {});
  storage.sync_to_storage();
  storage.sync_to_storage();
  EXPECT_EQ(script::journal("Sync"), "per.SyncToStorage()\nper.SyncToStorage()\n");
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
