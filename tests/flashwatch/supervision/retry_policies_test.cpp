// SPDX-License-Identifier: Apache-2.0
// What a wait does, step by step: sleeps, checkpoints, and what ends it early.
#include "flashwatch/supervision/retry_policies.h"

#include "flashwatch/app/time_wrapper.h"
#include "tests/flashwatch/room_test.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using Minutes = std::chrono::minutes;
using Calls = std::vector<std::string>;

struct ARetryPolicy : Room_test {
  /// Runs `action` inside the `number`-th sleep.
  static void at_sleep(int number, std::function<void()> const& action) {
    on("posix.sleep", [number, action, count = std::make_shared<int>(0)] { ++*count == number ? action() : void(); });
  }
  /// retry()'s result; calls_ is the journal of that call alone.
  bool retry(Retry_policy_if const& policy) {
    auto const before = static_cast<std::ptrdiff_t>(journal().size());
    bool const result = policy.retry();
    auto const all = journal();
    calls_.assign(all.begin() + before, all.end());
    return result;
  }
  static Calls minutes(int count) {
    Calls calls;
    for (int i = 0; i < count; ++i) {
      calls.insert(calls.end(), {"posix.sleep(60)", "phm.CheckpointReached(1, 1)",
                                 "phm.GetSupervisionStatus(flashwatch-container, 1)"});
    }
    return calls;
  }

  std::atomic<bool> stop_{false};
  Calls calls_;
};

TEST_F(ARetryPolicy, WaitsAPeriodAsMinutesWithACheckpointAfterEach) {
  auto const interruptible = make_sleep_alive_supervised_interrupt_policy(Minutes(3), stop_);
  auto const uninterruptible = make_sleep_alive_supervised_policy(Minutes(30));
  Calls const made{"phm.Phm_client(flashwatch-container)", "phm.SupervisionEntity(flashwatch-container)"};
  EXPECT_THAT(journal(), ElementsAre(made[0], made[1], made[0], made[1]));
  for (int again = 0; again < 2; ++again) {
    EXPECT_TRUE(retry(*interruptible));
    EXPECT_EQ(calls_, minutes(3));
  }
  answers().unslept_seconds = 59;  // as when a signal arrives, which does not end this one
  EXPECT_TRUE(retry(*uninterruptible));
  EXPECT_EQ(calls_, minutes(30));
}

TEST_F(ARetryPolicy, SearchesWithOneSleepAndNoCheckpoint) {
  auto const policy = make_sleep_interrupt_policy(std::chrono::seconds(1), stop_);
  for (unsigned const unslept : {0U, 1U}) {
    answers().unslept_seconds = unslept;
    EXPECT_EQ(retry(*policy), unslept == 0);
    EXPECT_THAT(calls_, ElementsAre("posix.sleep(1)"));
  }
}

TEST_F(ARetryPolicy, EndsAtOnceWhenASignalCutsASleepShort) {
  auto const policy = make_sleep_alive_supervised_interrupt_policy(Minutes(5), stop_);
  at_sleep(3, [] { answers().unslept_seconds = 20; });
  EXPECT_FALSE(retry(*policy));
  auto expected = minutes(2);
  expected.emplace_back("posix.sleep(60)");
  EXPECT_EQ(calls_, expected);
}

TEST_F(ARetryPolicy, SleepsOutTheMinuteInWhichTheFlagIsSetWithoutASignal) {
  for (int const at : {2, 5}) {
    stop_ = false;
    auto const policy = make_sleep_alive_supervised_interrupt_policy(Minutes(5), stop_);
    at_sleep(at, [this] { stop_ = true; });
    EXPECT_FALSE(retry(*policy));
    EXPECT_EQ(calls_, minutes(at));
    EXPECT_FALSE(retry(*policy));
    EXPECT_THAT(calls_, IsEmpty());
  }
}

TEST_F(ARetryPolicy, WithoutRepetitionsAnswersAtOnce) {
  auto const interruptible = make_sleep_alive_supervised_interrupt_policy(Minutes(0), stop_);
  EXPECT_TRUE(retry(*interruptible));
  stop_ = true;
  EXPECT_FALSE(retry(*interruptible));
  EXPECT_TRUE(retry(*make_sleep_alive_supervised_policy(Minutes(-1))));
  EXPECT_THAT(journal(), Not(Contains("posix.sleep(60)")));
}

TEST_F(ARetryPolicy, WarnsOfASupervisionStatusAndLetsPlatformErrorsPass) {
  auto const policy = make_sleep_alive_supervised_policy(Minutes(1));
  answers().supervision_status = 3;
  EXPECT_TRUE(retry(*policy));
  EXPECT_THAT(script::log(), ElementsAre(warning("Invalid supervision status:", U8{3})));
  on("phm.CheckpointReached", [] { throw std::runtime_error("gone"); });
  EXPECT_THROW(policy->retry(), std::runtime_error);
}

TEST_F(ARetryPolicy, StandsOnAClockThatTellsWallTimeAndSleepsIn32Bits) {
  auto const before = std::time(nullptr);
  auto const now = Time_wrapper().get_current_time();
  EXPECT_TRUE(before <= now && now <= std::time(nullptr));
  answers().unslept_seconds = 4;
  EXPECT_EQ(Time_wrapper().sleep(std::chrono::seconds((1LL << 32) + 5)), 4U);
  EXPECT_THAT(journal(), ElementsAre("posix.sleep(5)"));
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
