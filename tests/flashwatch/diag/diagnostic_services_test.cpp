// SPDX-License-Identifier: Apache-2.0
// Both data identifiers as a peer reads them, payload by payload, and how they are offered.
#include "flashwatch/diag/stats_skeletons_wrapper.h"
#include "tarn/com/exceptions.h"
#include "tests/flashwatch/mocks/neighbours.h"
#include "tests/scripted_platform/script.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::Return;
using ::testing::SizeIs;
using ::testing::Throw;
using Bytes = std::vector<std::uint8_t>;

char const* const report = "DataIdentifier_FlashwatchReport";
char const* const budget = "DataIdentifier_EMMCBudgetExceedance";

struct TheDiagnosticServices : ::testing::Test {
  void SetUp() override {
    script::reset();
    services_ = std::make_unique<Stats_skeletons_wrapper>(supervision_, logger_, converter_, "own");
  }
  static Bytes read(std::string const& interface) { return script::request(interface, 1); }
  /// A record whose SCID, limit, total and session each show in one byte.
  static Stat_record record(std::size_t number) {
    return {"app" + std::to_string(number), 4, 0, 3, 0, {0x0102030405060708, 0}, {}, 1};
  }
  void serve(std::size_t count) {
    std::vector<Stat_record> records;
    for (std::size_t i = 0; i < count; ++i) {
      records.push_back(record(i));
    }
    EXPECT_CALL(*supervision_, get_stats).WillRepeatedly(Return(records));
    EXPECT_CALL(*logger_, debug_log_stats(SizeIs(count)));
  }
  template <typename Interface>
  static void expect_failure(std::string const& interface, std::string const& what) {
    try {
      read(interface);
      ADD_FAILURE() << "no error";
    } catch (typename Interface::UDSServiceFailed const& error) {
      EXPECT_EQ(error.response_code(), 0x11);
      EXPECT_EQ(error.what(), what);
    }
  }

  std::shared_ptr<Stats_annual_supervision_mock> supervision_ = std::make_shared<Stats_annual_supervision_mock>();
  std::shared_ptr<Stats_logger_mock> logger_ = std::make_shared<Stats_logger_mock>();
  std::shared_ptr<Application_scid_converter_mock> converter_ = std::make_shared<Application_scid_converter_mock>();
  std::unique_ptr<Stats_skeletons_wrapper> services_;
};

TEST_F(TheDiagnosticServices, StandUnderOneInstanceAndAreOfferedAndWithdrawnInOrder) {
  services_->offer_services();
  services_->stop_offer_services();
  std::string const first = report;
  std::string const second = budget;
  EXPECT_THAT(script::journal(),
              ElementsAre("com.Instance_id(own)", "com.Skeleton(" + first + ", own, mode 1)", "com.register_method(0)",
                          "com.register_method(1)", "com.Instance_id(own)", "com.Skeleton(" + second + ", own, mode 1)",
                          "com.register_method(0)", "com.register_method(1)", "com.OfferService(" + first + ")",
                          "com.OfferService(" + second + ")", "com.StopOfferService(" + first + ")",
                          "com.StopOfferService(" + second + ")"));
  EXPECT_EQ(script::request(report, 0), Bytes());
  EXPECT_EQ(script::request(budget, 0), Bytes());
}

TEST_F(TheDiagnosticServices, DestroyTheFirstWhenTheSecondCannotBeMade) {
  script::reset();
  script::on("com.Skeleton", [count = std::make_shared<int>(0)] {
    if (++*count == 2) {
      throw tarn::com::Invalid_argument_exception("own");
    }
  });
  EXPECT_THROW(Stats_skeletons_wrapper(supervision_, logger_, converter_, "own"),
               tarn::com::Invalid_argument_exception);
  EXPECT_EQ(script::journal().back(), "com.~Skeleton(DataIdentifier_FlashwatchReport)");
}

TEST_F(TheDiagnosticServices, ReportAnEntryBigEndian) {
  serve(1);
  EXPECT_CALL(*converter_, get_scid("app0")).WillOnce(Return(0x1122334455667788));
  EXPECT_EQ(read(report), (Bytes{0,    0,    0,    1,    1,                       // record length, entry count
                                 0,    0,    0,    32,                            // vector length
                                 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88,  // SCID
                                 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08,  // accumulated soft limit
                                 0,    0,    0,    0,    0,    0,    0,    3,     // total writes
                                 0,    0,    0,    0,    0,    0,    0,    4}));  // session writes
  EXPECT_TRUE(script::log().empty());
}

TEST_F(TheDiagnosticServices, CountAndCutEntriesByTheirOwn8BitRules) {
  struct Case {
    std::size_t records;
    std::uint8_t count;
    std::vector<std::uint8_t> entries;  ///< the low bytes of the entries' SCIDs
    std::size_t discarded;
  };
  EXPECT_CALL(*converter_, get_scid).WillRepeatedly([](std::string const& name) { return std::stoul(name.substr(3)); });
  Bytes const first{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
  Bytes twice = first;  // positions 256 to 270 have the same low bytes as 0 to 14
  twice.insert(twice.end(), first.begin(), first.end());
  Bytes and_one = first;
  and_one.push_back(0);
  for (auto const& c : std::vector<Case>{{0, 0, {}, 0},
                                         {15, 15, first, 0},
                                         {16, 15, first, 1},
                                         {255, 15, first, 240},
                                         {256, 0, first, 241},
                                         {257, 1, and_one, 241},
                                         {272, 15, twice, 242}}) {
    SCOPED_TRACE(c.records);
    script::reset();
    serve(c.records);
    auto const payload = read(report);
    ASSERT_EQ(payload.size(), 9 + 32 * c.entries.size());
    EXPECT_EQ(payload.at(4), c.count);
    for (std::size_t i = 0; i < c.entries.size(); ++i) {
      EXPECT_EQ(payload.at(9 + 32 * i + 7), c.entries.at(i)) << i;
    }
    auto const log = script::log();
    ASSERT_EQ(log.size(), c.discarded);
    if (!log.empty()) {
      EXPECT_EQ(log.front(), script::warning("Max stats report size =", std::uint8_t{15},
                                             "reached - entry for application", "app15", "discarded"));
    }
  }
}

TEST_F(TheDiagnosticServices, TellAnyExceedanceOfAnAccumulatedSoftLimit) {
  auto const with = [](std::uint64_t total, std::uint64_t soft) {
    return Stat_record{"app", 0, 0, total, 0, {soft, 0}, {}, 1};
  };
  std::uint64_t const top = 18446744073709551615U;
  std::vector<Stat_record> many(300, with(1, 1));
  many.back().total_write = 2;
  for (auto const& [records, exceeded] :
       std::vector<std::pair<std::vector<Stat_record>, bool>>{{{}, false},
                                                              {{with(5, 5), with(0, 0), with(top, top)}, false},
                                                              {{with(5, 5), with(6, 5)}, true},
                                                              {{with(1, 0)}, true},
                                                              {{with(top, 1)}, true},
                                                              {many, true}}) {
    script::reset();
    EXPECT_CALL(*supervision_, get_stats).WillOnce(Return(records));
    EXPECT_EQ(read(budget), Bytes{static_cast<std::uint8_t>(exceeded)});
    EXPECT_THAT(script::log(), ElementsAre(script::debug("Budget exceeded:", exceeded ? "yes" : "no")));
  }
}

TEST_F(TheDiagnosticServices, AnswerEveryFailureWithResponseCode11) {
  using Report = Stats_adaptive_skeleton::Interface;
  using Budget = Stats_budget_skeleton::Interface;
  EXPECT_CALL(*supervision_, get_stats)
      .WillOnce(Throw(std::runtime_error("T")))
      .WillOnce(Throw(5))
      .WillOnce(Throw(std::runtime_error("T")))
      .WillOnce(Throw(5))
      .WillOnce(Return(std::vector<Stat_record>(1)));
  EXPECT_CALL(*logger_, debug_log_stats(SizeIs(1)));
  EXPECT_CALL(*converter_, get_scid).WillOnce(Throw(std::range_error("scid")));
  std::string const report_error = std::string(report) + "::UDSServiceFailed::2";
  std::string const budget_error = std::string(budget) + "::UDSServiceFailed::2";
  expect_failure<Report>(report, report_error);
  expect_failure<Report>(report, report_error);
  expect_failure<Budget>(budget, budget_error);
  expect_failure<Budget>(budget, budget_error);
  expect_failure<Report>(report, report_error);
  EXPECT_THAT(script::log(), ElementsAre(script::warning("Failed to provide statistics due to exception:", "T"),
                                         script::warning("Failed to provide statistics due to unknown exception"),
                                         script::warning("Failed to provide budget due to exception:", "T"),
                                         script::warning("Failed to provide budget due to unknown exception"),
                                         script::warning("Failed to provide statistics due to exception:", "scid")));
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
