// SPDX-License-Identifier: Apache-2.0
// Years of use and the budget that grows with them, from the first readout of a process.
#include "flashwatch/stats/stats_annual_supervision.h"

#include <atomic>
#include <limits>
#include <thread>

#include "tarn/com/exceptions.h"
#include "tests/flashwatch/mocks/neighbours.h"
#include "tests/flashwatch/room_test.h"

namespace orvel::flashwatch::diagnostics {

bool operator==(Limits const& left, Limits const& right) { return left.soft == right.soft && left.hard == right.hard; }
bool operator==(Persistent_storage_if::Entry const& left, Persistent_storage_if::Entry const& right) {
  return left.time_of_first_use == right.time_of_first_use && left.limits == right.limits &&
         left.years_in_use == right.years_in_use;
}

namespace {

using Entry = Persistent_storage_if::Entry;
using Statistics = std::map<std::string, persistency::KVS_io_stat>;

constexpr I64 year = 31556952;
constexpr I64 now = 1800000000;
constexpr U64 top = std::numeric_limits<U64>::max();

struct Provider_mock : Io_stats_provider_if {
  MOCK_METHOD(Statistics, get_KVS_statistics, (), (const, override));
};

struct AnAnnualSupervision : Room_test {
  Stats_annual_supervision& start(I64 time) {
    auto storage = std::make_unique<StrictMock<Persistent_storage_mock>>();
    storage_ = storage.get();
    auto clock = std::make_unique<Stopped_clock>(time);
    supervision_ = std::make_unique<Stats_annual_supervision>(provider_, std::move(storage), std::move(clock));
    return *supervision_;
  }
  /// The service answers with these applications, under keys that order them but do not name them.
  void serve(std::vector<std::string> const& ids) {
    Statistics stats;
    for (auto const& id : ids) {
      stats["key " + std::to_string(stats.size())] = {id, 1, 2, 3, 4, 5, 6, 10, 20};
    }
    EXPECT_CALL(*provider_, get_KVS_statistics).WillRepeatedly(Return(stats));
  }
  static std::string line(std::string const& label, U32 years, Limits const& limits) {
    return debug(label, years, "acc soft limit:", limits.soft, "acc hard limit:", limits.hard,
                 "for application:", "nav");
  }
  static void expect_budget(std::vector<Stat_record> const& records, U32 years, Limits const& limits) {
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records.front().years_in_use, years);
    EXPECT_EQ(records.front().acc_limits, limits);
    EXPECT_EQ(records.front().year_limits, (Limits{10, 20}));
  }

  std::shared_ptr<Provider_mock> provider_ = std::make_shared<Provider_mock>();
  Persistent_storage_mock* storage_ = nullptr;
  std::unique_ptr<Stats_annual_supervision> supervision_;
};

TEST_F(AnAnnualSupervision, BeginsANewApplicationInItsFirstYear) {
  serve({"nav"});
  auto& supervision = start(now);
  EXPECT_CALL(*storage_, read("nav")).WillOnce(Return(std::nullopt));
  EXPECT_CALL(*storage_, create("nav", Entry{now, {0, 0}, 1}));
  EXPECT_CALL(*storage_, sync_to_storage);
  expect_budget(supervision.get_stats(), 1, {10, 20});
  auto const record = supervision.get_stats().front();
  EXPECT_EQ(record.application_id, "nav");
  EXPECT_EQ(
      (std::vector<U64>{record.session_write, record.session_setvalue, record.total_write, record.total_setvalue}),
      (std::vector<U64>{2, 3, 5, 6}));
  EXPECT_THAT(script::log(), ElementsAre(line("Init years in use:", 1, {10, 20})));
}

struct Year_case {
  char const* name;
  I64 first_use;
  U32 persisted_years;
  U32 years;
  U64 soft;     ///< the accumulated soft limit in memory; the hard one is twice as high
  U64 written;  ///< the soft limit of the updated record, 0 when nothing is written
  std::vector<std::string> warnings = {};
  I64 time = now;
};

TEST_F(AnAnnualSupervision, CountsYearsAndAccumulatesLimitsFromARecord) {
  constexpr I64 lowest = std::numeric_limits<I64>::min();
  constexpr I64 highest = std::numeric_limits<I64>::max();
  constexpr I64 wrap = I64{1} << 32;
  auto const back = [](I64 time, I64 first_use) {
    return warning("Current time:", time, "is smaller than persisted time of first use:", first_use);
  };
  auto const kept = [](U32 years) {
    return warning("Persisted years in use:", years, "will be used due to negative time difference");
  };
  // The record's limits are {100, 200}, a year's are {10, 20}.
  for (auto const& c : std::vector<Year_case>{
           {"same year", now - 1, 1, 1, 110, 0},
           {"a second before the year is full", now - year + 1, 1, 1, 110, 0},
           {"the year is full", now - year, 1, 2, 120, 110},
           {"within the second year", now - year, 2, 2, 110, 0},
           {"three years at once", now - 3 * year - 9, 1, 4, 140, 130},
           {"a record of year 0", now - year, 0, 2, 130, 120},
           {"first use in the future", now + 1, 1, 1, 110, 0, {back(now, now + 1)}},
           {"the clock went back", now + 1, 3, 3, 110, 0, {back(now, now + 1), kept(3)}},
           {"more persisted years than elapsed", now - year, 7, 7, 110, 0, {kept(7)}},
           {"2^32 s count as none", now - wrap, 1, 1, 110, 0},
           {"2^32 s and a year", now - wrap - year, 2, 2, 110, 0},
           {"the earliest first use", lowest, 1, 1, 110, 0, {}, wrap},
           {"the longest difference", lowest, 1, 137, 1470, 1460, {}, highest},
           {"the latest first use", highest, 1, 1, 110, 0, {back(lowest, highest)}, lowest},
       }) {
    SCOPED_TRACE(c.name);
    script::reset();
    serve({"nav"});
    auto& supervision = start(c.time);
    EXPECT_CALL(*storage_, read("nav")).WillOnce(Return(Entry{c.first_use, {100, 200}, c.persisted_years}));
    if (c.written != 0) {
      EXPECT_CALL(*storage_, update("nav", Entry{c.first_use, {c.written, 2 * c.written}, c.years}));
    }
    EXPECT_CALL(*storage_, sync_to_storage);
    expect_budget(supervision.get_stats(), c.years, {c.soft, 2 * c.soft});
    auto expected = c.warnings;
    expected.push_back(line("Set years in use:", c.years, {c.soft, 2 * c.soft}));
    EXPECT_EQ(script::log(), expected);
  }
}

TEST_F(AnAnnualSupervision, DoesNotKnowTheYearsOfAnApplicationThatCameLater) {
  serve({});
  auto& supervision = start(now);
  EXPECT_CALL(*storage_, sync_to_storage).Times(1);
  EXPECT_TRUE(supervision.get_stats().empty());
  serve({"late"});
  expect_budget(supervision.get_stats(), 0, {0, 0});
  expect_budget(supervision.get_stats_safe(), 0, {0, 0});
  auto const missing = warning("Missing years in use and limits for application id:", "late");
  EXPECT_THAT(script::log(), ElementsAre(missing, missing));
}

TEST_F(AnAnnualSupervision, ReportsFailedReadoutsAndInitialisesAtTheFirstThatSucceeds) {
  auto& supervision = start(now);
  EXPECT_CALL(*provider_, get_KVS_statistics)
      .WillOnce(Throw(tarn::com::Transport_exception(7, "cut off")))
      .WillOnce(Throw(tarn::com::Service_not_available_exception("nobody")))
      .WillOnce(Throw(tarn::com::Transport_exception(1, "broken")));
  EXPECT_TRUE(supervision.get_stats_safe().empty());
  EXPECT_TRUE(supervision.get_stats_safe().empty());
  EXPECT_THROW(supervision.get_stats(), tarn::com::Transport_exception);
  EXPECT_THAT(script::log(),
              ElementsAre(warning("Runtime exception caught at statistics readout:", "cut off", "err code:", U8{7}),
                          warning("Unknown exception caught at statistics readout")));
  serve({"nav", "media"});
  EXPECT_CALL(*storage_, read).Times(2).WillRepeatedly(Return(std::nullopt));
  EXPECT_CALL(*storage_, create(_, Entry{now, {0, 0}, 1})).Times(2);
  EXPECT_CALL(*storage_, sync_to_storage);
  EXPECT_EQ(supervision.get_stats().front().application_id, "nav");
}

TEST_F(AnAnnualSupervision, StartsOverAfterAFailureOfTheStorage) {
  serve({"nav"});
  auto& supervision = start(now);
  EXPECT_CALL(*storage_, read("nav")).Times(2).WillRepeatedly(Return(std::nullopt));
  EXPECT_CALL(*storage_, create).WillOnce(Throw(std::runtime_error("no medium"))).WillOnce(Return());
  EXPECT_CALL(*storage_, sync_to_storage).Times(1);
  EXPECT_TRUE(supervision.get_stats_safe().empty());
  expect_budget(supervision.get_stats_safe(), 1, {10, 20});
  expect_budget(supervision.get_stats_safe(), 1, {10, 20});
  EXPECT_EQ(script::log().front(), warning("Unknown exception caught at statistics readout"));
}

TEST_F(AnAnnualSupervision, InitialisesOnceForManyThreads) {
  serve({"nav"});
  auto& supervision = start(now);
  EXPECT_CALL(*storage_, read("nav")).WillOnce(Return(Entry{now, {0, 0}, 1}));
  EXPECT_CALL(*storage_, sync_to_storage).Times(1);
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] { expect_budget(supervision.get_stats(), 1, {10, 20}); });
  }
  for (auto& thread : threads) {
    thread.join();
  }
}

struct TheLimits : Room_test {};

TEST_F(TheLimits, StopAtTheTopEachByItselfWithAWarning) {
  constexpr U64 half = U64{1} << 63U;
  EXPECT_EQ((Limits{top - 5, 1} + Limits{5, 2}), (Limits{top, 3}));
  EXPECT_EQ((Limits{0, 3} * (top / 3)), (Limits{0, top}));
  EXPECT_THAT(script::log(), IsEmpty());
  Limits left{top, half};
  EXPECT_EQ(&(left += {1, half}), &left);
  EXPECT_EQ(left, (Limits{top, top}));
  EXPECT_EQ((Limits{half, 1} * 2), (Limits{top, 2}));
  EXPECT_THAT(script::log(), ElementsAre(warning("Max limit exceedance with values:", top, "and", U64{1}),
                                         warning("Max limit exceedance with values:", half, "and", half),
                                         warning("Max limit exceedance with value:", half, "and factor", U64{2})));
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
