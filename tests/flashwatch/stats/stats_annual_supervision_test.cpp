// SPDX-License-Identifier: Apache-2.0
// Years of use and the budget that grows with them, from the first readout of a process.
#include "flashwatch/stats/stats_annual_supervision.h"

#include <atomic>
#include <limits>
#include <thread>

#include "tarn/com/exceptions.h"
#include "tests/flashwatch/mocks/neighbours.h"
#include "tests/scripted_platform/script.h"

namespace orvel::flashwatch::diagnostics {

bool operator==(Limits const& left, Limits const& right) { return left.soft == right.soft && left.hard == right.hard; }
bool operator==(Persistent_storage_if::Entry const& left, Persistent_storage_if::Entry const& right) {
  return left.time_of_first_use == right.time_of_first_use && left.limits == right.limits &&
         left.years_in_use == right.years_in_use;
}

namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::Return;
using ::testing::StrictMock;
using ::testing::Throw;
using Entry = Persistent_storage_if::Entry;
using I64 = std::int64_t;
using U32 = std::uint32_t;
using U64 = std::uint64_t;

constexpr I64 year = 31556952;
constexpr I64 now = 1800000000;

struct AnAnnualSupervision : ::testing::Test {
  void SetUp() override { script::reset(); }

  Stats_annual_supervision& start(I64 time) {
    auto storage = std::make_unique<StrictMock<Persistent_storage_mock>>();
    storage_ = storage.get();
    supervision_ = std::make_unique<Stats_annual_supervision>(provider_, std::move(storage),
                                                              std::make_unique<Stopped_clock>(time));
    return *supervision_;
  }
  static persistency::KVS_io_stat stat(std::string const& id) { return {id, 1, 2, 3, 4, 5, 6, 10, 20}; }
  /// The service answers with these applications, under keys that order them but do not name them.
  void serve(std::vector<std::string> const& ids) {
    Io_stats_provider_mock::Statistics stats;
    for (auto const& id : ids) {
      stats.emplace("key " + std::to_string(stats.size()), stat(id));
    }
    EXPECT_CALL(*provider_, get_KVS_statistics).WillRepeatedly(Return(stats));
  }
  static std::string years_line(std::string const& label, U32 years, Limits const& limits, std::string const& id) {
    return script::debug(label, years, "acc soft limit:", limits.soft, "acc hard limit:", limits.hard,
                         "for application:", id);
  }

  std::shared_ptr<Io_stats_provider_mock> provider_ = std::make_shared<Io_stats_provider_mock>();
  Persistent_storage_mock* storage_ = nullptr;
  std::unique_ptr<Stats_annual_supervision> supervision_;
};

TEST_F(AnAnnualSupervision, BeginsANewApplicationInItsFirstYearAndKeepsAllItsCounters) {
  serve({"nav"});
  auto& supervision = start(now);
  EXPECT_CALL(*storage_, read("nav")).WillOnce(Return(std::nullopt));
  EXPECT_CALL(*storage_, create("nav", Entry{now, {0, 0}, 1}));
  EXPECT_CALL(*storage_, sync_to_storage);

  for (int readout = 0; readout < 2; ++readout) {
    auto const records = supervision.get_stats();
    ASSERT_EQ(records.size(), 1U);
    auto const& record = records.front();
    EXPECT_EQ(record.application_id, "nav");
    EXPECT_EQ(record.session_write, 2);
    EXPECT_EQ(record.session_setvalue, 3);
    EXPECT_EQ(record.total_write, 5);
    EXPECT_EQ(record.total_setvalue, 6);
    EXPECT_EQ(record.acc_limits, (Limits{10, 20}));
    EXPECT_EQ(record.year_limits, (Limits{10, 20}));
    EXPECT_EQ(record.years_in_use, 1);
  }
  EXPECT_THAT(script::log(), ElementsAre(years_line("Init years in use:", 1, {10, 20}, "nav")));
}

struct Year_case {
  char const* name;
  I64 first_use;
  U32 persisted_years;
  std::optional<Entry> update;  ///< what is written, if anything
  U32 years;
  Limits limits;
  std::vector<std::string> warnings = {};
  I64 time = now;
};

TEST_F(AnAnnualSupervision, CountsYearsAndAccumulatesLimitsFromARecord) {
  constexpr I64 lowest = std::numeric_limits<I64>::min();
  constexpr I64 highest = std::numeric_limits<I64>::max();
  auto const back_in_time = [](I64 time, I64 first_use) {
    return script::warning("Current time:", time, "is smaller than persisted time of first use:", first_use);
  };
  auto const kept = [](U32 years) {
    return script::warning("Persisted years in use:", years, "will be used due to negative time difference");
  };
  // The record's limits are {100, 200}, a year's are {10, 20}.
  for (auto const& c : std::vector<Year_case>{
           {"same year", now - 1, 1, {}, 1, {110, 220}},
           {"a second before the year is full", now - year + 1, 1, {}, 1, {110, 220}},
           {"the year is full", now - year, 1, Entry{now - year, {110, 220}, 2}, 2, {120, 240}},
           {"a year and a day", now - year - 86400, 1, Entry{now - year - 86400, {110, 220}, 2}, 2, {120, 240}},
           {"within the second year", now - year, 2, {}, 2, {110, 220}},
           {"three years at once", now - 3 * year - 9, 1, Entry{now - 3 * year - 9, {130, 260}, 4}, 4, {140, 280}},
           {"a record of year 0", now - year, 0, Entry{now - year, {120, 240}, 2}, 2, {130, 260}},
           {"first use in the future", now + 1, 1, {}, 1, {110, 220}, {back_in_time(now, now + 1)}},
           {"the clock went back", now + 1, 3, {}, 3, {110, 220}, {back_in_time(now, now + 1), kept(3)}},
           {"more persisted years than elapsed", now - year, 7, {}, 7, {110, 220}, {kept(7)}},
           {"2^32 s count as none", now - (I64{1} << 32), 1, {}, 1, {110, 220}},
           {"2^32 s and a year", now - (I64{1} << 32) - year, 2, {}, 2, {110, 220}},
           {"the earliest first use", lowest, 1, {}, 1, {110, 220}, {}, I64{1} << 32},
           {"the longest difference", lowest, 1, Entry{lowest, {1460, 2920}, 137}, 137, {1470, 2940}, {}, highest},
           {"the latest first use", highest, 1, {}, 1, {110, 220}, {back_in_time(lowest, highest)}, lowest},
       }) {
    SCOPED_TRACE(c.name);
    script::reset();
    serve({"nav"});
    auto& supervision = start(c.time);
    EXPECT_CALL(*storage_, read("nav")).WillOnce(Return(Entry{c.first_use, {100, 200}, c.persisted_years}));
    if (c.update) {
      EXPECT_CALL(*storage_, update("nav", *c.update));
    }
    EXPECT_CALL(*storage_, sync_to_storage);

    auto const records = supervision.get_stats();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records.front().years_in_use, c.years);
    EXPECT_EQ(records.front().acc_limits, c.limits);
    EXPECT_EQ(records.front().year_limits, (Limits{10, 20}));
    auto expected = c.warnings;
    expected.push_back(years_line("Set years in use:", c.years, c.limits, "nav"));
    EXPECT_EQ(script::log(), expected);
    supervision_.reset();
  }
}

TEST_F(AnAnnualSupervision, DoesNotKnowTheYearsOfAnApplicationThatCameLater) {
  serve({});
  auto& supervision = start(now);
  EXPECT_CALL(*storage_, sync_to_storage).Times(1);
  EXPECT_TRUE(supervision.get_stats().empty());

  serve({"late"});
  for (int readout = 0; readout < 2; ++readout) {
    auto const records = supervision.get_stats_safe();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records.front().years_in_use, 0);
    EXPECT_EQ(records.front().acc_limits, (Limits{0, 0}));
    EXPECT_EQ(records.front().year_limits, (Limits{10, 20}));
  }
  auto const missing = script::warning("Missing years in use and limits for application id:", "late");
  EXPECT_THAT(script::log(), ElementsAre(missing, missing));
}

TEST_F(AnAnnualSupervision, ReportsFailedReadoutsAndInitialisesAtTheFirstThatSucceeds) {
  auto& supervision = start(now);
  EXPECT_CALL(*provider_, get_KVS_statistics)
      .WillOnce(Throw(tarn::com::Transport_exception(7, "cut off")))
      .WillOnce(Throw(tarn::com::Service_not_available_exception("nobody")))
      .WillOnce(Throw(5))
      .WillOnce(Throw(tarn::com::Transport_exception(1, "broken")));
  for (int readout = 0; readout < 3; ++readout) {
    EXPECT_TRUE(supervision.get_stats_safe().empty());
  }
  EXPECT_THROW(supervision.get_stats(), tarn::com::Transport_exception);
  auto const unknown = script::warning("Unknown exception caught at statistics readout");
  EXPECT_THAT(script::log(), ElementsAre(script::warning("Runtime exception caught at statistics readout:", "cut off",
                                                         "err code:", std::uint8_t{7}),
                                         unknown, unknown));

  serve({"nav", "media"});
  EXPECT_CALL(*storage_, read).Times(2).WillRepeatedly(Return(std::nullopt));
  EXPECT_CALL(*storage_, create(_, Entry{now, {0, 0}, 1})).Times(2);
  EXPECT_CALL(*storage_, sync_to_storage);
  auto const records = supervision.get_stats();
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records.front().application_id, "nav");
}

TEST_F(AnAnnualSupervision, StartsOverAfterAFailureOfTheStorage) {
  serve({"nav"});
  auto& supervision = start(now);
  EXPECT_CALL(*storage_, read("nav")).Times(2).WillRepeatedly(Return(std::nullopt));
  EXPECT_CALL(*storage_, create).WillOnce(Throw(std::runtime_error("no medium"))).WillOnce(Return());
  EXPECT_CALL(*storage_, sync_to_storage).Times(1);

  EXPECT_TRUE(supervision.get_stats_safe().empty());
  EXPECT_EQ(supervision.get_stats_safe().size(), 1U);
  EXPECT_EQ(supervision.get_stats_safe().size(), 1U);
  EXPECT_THAT(script::log(), ElementsAre(script::warning("Unknown exception caught at statistics readout"),
                                         years_line("Init years in use:", 1, {10, 20}, "nav")));
}

TEST_F(AnAnnualSupervision, InitialisesOnceForManyThreads) {
  serve({"nav"});
  auto& supervision = start(now);
  EXPECT_CALL(*storage_, read("nav")).WillOnce(Return(Entry{now, {0, 0}, 1}));
  EXPECT_CALL(*storage_, sync_to_storage).Times(1);
  std::atomic<int> complete{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] { complete += supervision.get_stats().front().years_in_use == 1 ? 1 : 0; });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(complete, 8);
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
