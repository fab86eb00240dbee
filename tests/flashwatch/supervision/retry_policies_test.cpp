// SPDX-License-Identifier: Apache-2.0
// What a wait does, step by step: sleeps, checkpoints, and what ends it early.
#include "flashwatch/supervision/retry_policies.h"

#include <atomic>

#include <gmock/gmock.h>

#include "flashwatch/app/time_wrapper.h"
#include "tests/scripted_platform/script.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using ::testing::ElementsAre;

struct ARetryPolicy : ::testing::Test {
  void SetUp() override { script::reset(); }

  /// Runs `action` inside the `number`-th sleep.
  static void at_sleep(int number, std::function<void()> const& action) {
    script::on("posix.sleep", [number, action, count = std::make_shared<int>(0)] {
      if (++*count == number) {
        action();
      }
    });
  }
  /// retry()'s result, and the journal of that call alone.
  bool retry(Retry_policy_if const& policy) {
    auto const before = script::journal().size();
    bool const result = policy.retry();
    auto const all = script::journal();
    calls_.assign(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
    return result;
  }
  std::vector<std::string> minutes(int count) const {
    std::vector<std::string> calls;
    for (int i = 0; i < count; ++i) {
      calls.insert(calls.end(), minute_.begin(), minute_.end());
    }
    return calls;
  }

  std::atomic<bool> stop_{false};
  std::vector<std::string> calls_;
  std::vector<std::string> const minute_{"posix.sleep(60)", "phm.CheckpointReached(1, 1)",
                                         "phm.GetSupervisionStatus(flashwatch-container, 1)"};
};

TEST_F(ARetryPolicy, WaitsAPeriodAsMinutesWithACheckpointAfterEach) {
  auto const interruptible = make_sleep_alive_supervised_interrupt_policy(std::chrono::minutes(3), stop_);
  auto const uninterruptible = make_sleep_alive_supervised_policy(std::chrono::minutes(30));
  std::string const client = "phm.Phm_client(flashwatch-container)";
  std::string const entity = "phm.SupervisionEntity(flashwatch-container)";
  EXPECT_THAT(script::journal(), ElementsAre(client, entity, client, entity));

  EXPECT_TRUE(retry(*interruptible));
  EXPECT_EQ(calls_, minutes(3));
  EXPECT_TRUE(retry(*interruptible));
  EXPECT_EQ(calls_, minutes(3));
  EXPECT_TRUE(retry(*uninterruptible));
  EXPECT_EQ(calls_, minutes(30));
}

TEST_F(ARetryPolicy, SearchesWithOneSleepAndNoCheckpoint) {
  auto const policy = make_sleep_interrupt_policy(std::chrono::seconds(1), stop_);
  EXPECT_TRUE(retry(*policy));
  EXPECT_THAT(calls_, ElementsAre("posix.sleep(1)"));
  script::answers().unslept_seconds = 1;
  EXPECT_FALSE(retry(*policy));
  EXPECT_THAT(calls_, ElementsAre("posix.sleep(1)"));
}

TEST_F(ARetryPolicy, EndsAtOnceWhenASignalCutsASleepShort) {
  auto const policy = make_sleep_alive_supervised_interrupt_policy(std::chrono::minutes(5), stop_);
  at_sleep(3, [] { script::answers().unslept_seconds = 20; });

  EXPECT_FALSE(retry(*policy));
  auto expected = minutes(2);
  expected.emplace_back("posix.sleep(60)");
  EXPECT_EQ(calls_, expected);
}

TEST_F(ARetryPolicy, SleepsOutTheMinuteInWhichTheFlagIsSetWithoutASignal) {
  for (int const at : {2, 5}) {
    stop_ = false;
    auto const policy = make_sleep_alive_supervised_interrupt_policy(std::chrono::minutes(5), stop_);
    at_sleep(at, [this] { stop_ = true; });

    EXPECT_FALSE(retry(*policy));
    EXPECT_EQ(calls_, minutes(at));
    EXPECT_FALSE(retry(*policy));
    EXPECT_THAT(calls_, ElementsAre());
  }
}

TEST_F(ARetryPolicy, WithoutRepetitionsAnswersAtOnce) {
  auto const interruptible = make_sleep_alive_supervised_interrupt_policy(std::chrono::minutes(0), stop_);
  EXPECT_TRUE(retry(*interruptible));
  stop_ = true;
  EXPECT_FALSE(retry(*interruptible));
  EXPECT_TRUE(retry(*make_sleep_alive_supervised_policy(std::chrono::minutes(-1))));
  EXPECT_THAT(calls_, ::testing::Not(::testing::Contains("posix.sleep(60)")));
}

TEST_F(ARetryPolicy, ThatCannotBeInterruptedGoesOnAfterASignal) {
  auto const policy = make_sleep_alive_supervised_policy(std::chrono::minutes(2));
  script::answers().unslept_seconds = 59;
  EXPECT_TRUE(retry(*policy));
  EXPECT_EQ(calls_, minutes(2));
}

TEST_F(ARetryPolicy, WarnsOfASupervisionStatusAndLetsPlatformErrorsPass) {
  auto const policy = make_sleep_alive_supervised_policy(std::chrono::minutes(1));
  script::answers().supervision_status = 3;
  EXPECT_TRUE(retry(*policy));
  EXPECT_THAT(script::log(), ElementsAre(script::warning("Invalid supervision status:", std::uint8_t{3})));

  script::on("phm.CheckpointReached", [] { throw std::runtime_error("gone"); });
  EXPECT_THROW(policy->retry(), std::runtime_error);
}

TEST(ATimeWrapper, TellsTheSecondsSinceTheEpochAndSleepsIn32Bits) {
  script::reset();
  auto const before = std::time(nullptr);
  auto const now = Time_wrapper().get_current_time();
  EXPECT_LE(before, now);
  EXPECT_LE(now, std::time(nullptr));

  script::answers().unslept_seconds = 4;
  EXPECT_EQ(Time_wrapper().sleep(std::chrono::seconds((1LL << 32) + 5)), 4U);
  EXPECT_THAT(script::journal(), ElementsAre("posix.sleep(5)"));
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
