// SPDX-License-Identifier: Apache-2.0
// Both data identifiers as a peer reads them, payload by payload, and how they are offered.
#include "flashwatch/diag/stats_skeletons_wrapper.h"
#include "tarn/com/exceptions.h"
#include "tests/flashwatch/mocks/neighbours.h"
#include "tests/flashwatch/room_test.h"

namespace orvel::flashwatch::diagnostics {
namespace {

std::string const report = "DataIdentifier_FlashwatchReport";
std::string const budget = "DataIdentifier_EMMCBudgetExceedance";

struct TheDiagnosticServices : Room_test {
  static Bytes read(std::string const& interface) { return request(interface, 1); }
  void serve(std::vector<Stat_record> const& records) {
    EXPECT_CALL(*supervision_, get_stats).WillOnce(Return(records));
  }
  template <typename Interface>
  static void expect_failure(std::string const& interface) {
    EXPECT_THAT([&] { read(interface); },
                Throws<typename Interface::UDSServiceFailed>(
                    AllOf(Property(&Interface::UDSServiceFailed::response_code, 0x11),
                          Property(&Interface::UDSServiceFailed::what, interface + "::UDSServiceFailed::2"))));
  }

  std::shared_ptr<Stats_annual_supervision_mock> supervision_ = std::make_shared<Stats_annual_supervision_mock>();
  std::shared_ptr<Stats_logger_mock> logger_ = std::make_shared<NiceMock<Stats_logger_mock>>();
  std::shared_ptr<Application_scid_converter_mock> converter_ = std::make_shared<Application_scid_converter_mock>();
  Stats_skeletons_wrapper services_{supervision_, logger_, converter_, "own"};
};

TEST_F(TheDiagnosticServices, StandUnderOneInstanceAndAreOfferedAndWithdrawnInOrder) {
  services_.offer_services();
  services_.stop_offer_services();
  std::vector<std::string> expected;
  for (auto const& interface : {report, budget}) {
    expected.insert(expected.end(), {"com.Instance_id(own)", "com.Skeleton(" + interface + ", own, mode 1)",
                                     "com.register_method(0)", "com.register_method(1)"});
    EXPECT_EQ(request(interface, 0), Bytes());
  }
  for (std::string const call : {"com.OfferService(", "com.StopOfferService("}) {
    expected.insert(expected.end(), {call + report + ")", call + budget + ")"});
  }
  EXPECT_EQ(journal(), expected);
}

TEST_F(TheDiagnosticServices, DestroyTheFirstWhenTheSecondCannotBeMade) {
  on("com.Skeleton", [count = std::make_shared<int>(0)] {
    if (++*count == 2) {
      throw tarn::com::Invalid_argument_exception("own");
    }
  });
  EXPECT_THROW(Stats_skeletons_wrapper(supervision_, logger_, converter_, "own"),
               tarn::com::Invalid_argument_exception);
  EXPECT_EQ(journal().back(), "com.~Skeleton(" + report + ")");
}

TEST_F(TheDiagnosticServices, ReportAnEntryBigEndianAndLogTheRecords) {
  serve({{"nav", 4, 0, 3, 0, {0x0102030405060708, 0}, {}, 1}});
  EXPECT_CALL(*logger_, debug_log_stats(SizeIs(1)));
  EXPECT_CALL(*converter_, get_scid("nav")).WillOnce(Return(0x1122334455667788));
  // record length, entry count, vector length, SCID, accumulated soft limit, total writes, session writes
  EXPECT_EQ(read(report), (Bytes{0,    0,    0,    1,    1,    0,    0,    0,    32,   0x11, 0x22, 0x33, 0x44, 0x55,
                                 0x66, 0x77, 0x88, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0,    0,    0,
                                 0,    0,    0,    0,    3,    0,    0,    0,    0,    0,    0,    0,    4}));
  EXPECT_THAT(script::log(), IsEmpty());
}

TEST_F(TheDiagnosticServices, CountAndCutEntriesByTheirOwn8BitRules) {
  EXPECT_CALL(*converter_, get_scid).WillRepeatedly([](std::string const& name) { return std::stoul(name); });
  for (auto const& [records, count, entries] : std::vector<std::tuple<std::size_t, U8, std::size_t>>{
           {0, 0, 0}, {15, 15, 15}, {16, 15, 15}, {255, 15, 15}, {256, 0, 15}, {257, 1, 16}, {272, 15, 30}}) {
    SCOPED_TRACE(records);
    script::reset();
    std::vector<Stat_record> stats(records);
    for (std::size_t i = 0; i < records; ++i) {
      stats[i].application_id = std::to_string(i);
    }
    serve(stats);
    auto const payload = read(report);
    ASSERT_EQ(payload.size(), 9 + 32 * entries);
    EXPECT_EQ(payload.at(4), count);
    for (std::size_t i = 0; i < entries; ++i) {
      // after the first 15 entries, those from position 256 on follow; the SCID is the position
      EXPECT_EQ(256U * payload.at(9 + 32 * i + 6) + payload.at(9 + 32 * i + 7), i < 15 ? i : 256 + i - 15);
    }
    auto const discarded = script::log();
    ASSERT_EQ(discarded.size(), records - entries);
    if (!discarded.empty()) {
      EXPECT_EQ(discarded.front(),
                warning("Max stats report size =", U8{15}, "reached - entry for application", "15", "discarded"));
    }
  }
}

TEST_F(TheDiagnosticServices, TellAnyExceedanceOfAnAccumulatedSoftLimit) {
  constexpr U64 top = 18446744073709551615U;
  using Writes_and_limit = std::pair<U64, U64>;
  std::vector<Writes_and_limit> last_of_many(300, {1, 1});
  last_of_many.back() = {2, 1};
  for (auto const& [applications, exceeded] :
       std::vector<std::pair<std::vector<Writes_and_limit>, bool>>{{{}, false},
                                                                   {{{5, 5}, {0, 0}, {top, top}}, false},
                                                                   {{{5, 5}, {6, 5}}, true},
                                                                   {{{1, 0}}, true},
                                                                   {{{top, 1}}, true},
                                                                   {last_of_many, true}}) {
    script::reset();
    std::vector<Stat_record> records;
    for (auto const& [total, soft] : applications) {
      records.push_back({"app", 0, 0, total, 0, {soft, 0}, {}, 1});
    }
    serve(records);
    EXPECT_EQ(read(budget), Bytes{static_cast<U8>(exceeded)});
    EXPECT_THAT(script::log(), ElementsAre(debug("Budget exceeded:", exceeded ? "yes" : "no")));
  }
}

TEST_F(TheDiagnosticServices, AnswerEveryFailureWithResponseCode11) {
  std::runtime_error const known("T");
  EXPECT_CALL(*supervision_, get_stats)
      .WillOnce(Throw(known))
      .WillOnce(Throw(5))
      .WillOnce(Throw(known))
      .WillOnce(Throw(5))
      .WillOnce(Return(std::vector<Stat_record>(1)));
  EXPECT_CALL(*converter_, get_scid).WillOnce(Throw(std::range_error("scid")));
  expect_failure<Stats_adaptive_skeleton::Interface>(report);
  expect_failure<Stats_adaptive_skeleton::Interface>(report);
  expect_failure<Stats_budget_skeleton::Interface>(budget);
  expect_failure<Stats_budget_skeleton::Interface>(budget);
  expect_failure<Stats_adaptive_skeleton::Interface>(report);
  EXPECT_THAT(script::log(), ElementsAre(warning("Failed to provide statistics due to exception:", "T"),
                                         warning("Failed to provide statistics due to unknown exception"),
                                         warning("Failed to provide budget due to exception:", "T"),
                                         warning("Failed to provide budget due to unknown exception"),
                                         warning("Failed to provide statistics due to exception:", "scid")));
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
