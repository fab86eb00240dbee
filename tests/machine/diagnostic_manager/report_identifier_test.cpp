// SPDX-License-Identifier: Apache-2.0
// Testers who read one identifier at the same time: each gets a record that was asked for after its request.
#include "machine/diagnostic_manager/reports/report_identifier.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/machine/diagnostic_manager/script.h"

namespace machine::diagnostic_manager::reports {
namespace {

using testing::ElementsAre;

constexpr std::chrono::seconds limit{10};

/// A queue between two threads.
template <typename Item>
class Mailbox {
 public:
  void put(Item item) {
    std::lock_guard<std::mutex> const lock(mutex_);
    items_.push_back(std::move(item));
    filled_.notify_one();
  }
  Item take() {
    std::unique_lock<std::mutex> lock(mutex_);
    if (!filled_.wait_for(lock, limit, [this] { return !items_.empty(); })) {
      throw std::runtime_error("nothing came in time");
    }
    Item item = std::move(items_.front());
    items_.pop_front();
    return item;
  }
  bool empty() const { return items_.empty(); }

 private:
  std::mutex mutex_;
  std::condition_variable filled_;
  std::deque<Item> items_;
};

/// A service that answers when the test tells it to.
struct Scripted_report final : Blocking_report_if {
  Report_outcome read(std::atomic<bool> const& /*stop*/) override {
    asked.put(true);
    return answers.take();
  }
  Mailbox<bool> asked;
  Mailbox<Report_outcome> answers;
};

class AReport : public testing::Test {
 protected:
  std::unique_ptr<uds::Running_read_if> read(std::string const& who) {
    return identifier_.read(uds::Session::default_session, [this, who](uds::Read_outcome const& outcome) {
      told_.push_back(who + ": " + to_hex(std::get<Bytes>(outcome)));
    });
  }
  /// The service answers, and the server's thread hears of it.
  void answer(Report_outcome outcome) {
    service_->asked.take();
    service_->answers.put(std::move(outcome));
    posted_.take()();
  }
  std::vector<std::string> told() { return std::exchange(told_, {}); }

  Mailbox<std::function<void()>> posted_;
  std::vector<std::string> told_;
  Scripted_report* const service_ = new Scripted_report;
  Report_identifier identifier_{std::unique_ptr<Blocking_report_if>(service_),
                                [this](std::function<void()> work) { posted_.put(std::move(work)); }};
};

TEST_F(AReport, IsReadAgainForThoseWhoComeDuringARead) {
  auto const first = read("first");
  service_->asked.take();
  auto const second = read("second");
  auto const third = read("third");
  service_->answers.put(Bytes{1});
  posted_.take()();
  EXPECT_THAT(told(), ElementsAre("first: 01"));
  answer(Bytes{2});
  EXPECT_THAT(told(), ElementsAre("second: 02", "third: 02"));
  EXPECT_TRUE(service_->asked.empty());
}

TEST_F(AReport, ForgetsThoseWhoWentAway) {
  auto first = read("first");
  auto const other = read("other");
  auto gone = read("gone");
  first.reset();
  gone.reset();
  answer(Bytes{1});
  EXPECT_THAT(told(), ElementsAre());
  answer(Bytes{2});
  EXPECT_THAT(told(), ElementsAre("other: 02"));
}

TEST(AFailure, IsSaidInTheWordsOfUds) {
  std::vector<std::pair<Report_outcome, int>> const rows{{Service_failed{0x11}, 0x11}, {Service_failed{0x33}, 0x33},
                                                         {Service_failed{0x78}, 0x10}, {Service_failed{0x00}, 0x10},
                                                         {Service_absent{}, 0x22},     {Service_hung{}, 0x10}};
  for (auto const& [outcome, code] : rows) {
    EXPECT_EQ(static_cast<int>(std::get<uds::Response_code>(to_read_outcome(outcome))), code);
  }
}

}  // namespace
}  // namespace machine::diagnostic_manager::reports
