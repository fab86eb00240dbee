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

#include "tests/machine/diagnostic_manager/hex.h"

namespace machine::diagnostic_manager::reports {
namespace {

using testing::ElementsAre;
using uds::Response_code;

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
  bool empty() {
    std::lock_guard<std::mutex> const lock(mutex_);
    return items_.empty();
  }

 private:
  std::mutex mutex_;
  std::condition_variable filled_;
  std::deque<Item> items_;
};

/// A service that answers when the test tells it to.
struct Service {
  Mailbox<bool> asked;
  Mailbox<Report_outcome> answers;
};

class Scripted_report final : public Blocking_report_if {
 public:
  explicit Scripted_report(Service& service) : service_(service) {}
  Report_outcome read(std::atomic<bool> const& /*stop*/) override {
    service_.asked.put(true);
    return service_.answers.take();
  }

 private:
  Service& service_;
};

class AReport : public testing::Test {
 protected:
  std::unique_ptr<uds::Running_read_if> read(std::string const& who) {
    return identifier_.read(uds::Session::default_session, [this, who](uds::Read_outcome const& outcome) {
      auto const* record = std::get_if<Bytes>(&outcome);
      auto const code = [&outcome] { return static_cast<std::uint8_t>(std::get<Response_code>(outcome)); };
      told_.push_back(who + ": " + (record != nullptr ? to_hex(*record) : "code " + to_hex(Bytes{code()})));
    });
  }
  /// The service answers, and the server's thread hears of it.
  void answer(Report_outcome outcome) {
    service_.asked.take();
    service_.answers.put(std::move(outcome));
    posted_.take()();
  }
  std::vector<std::string> told() { return std::exchange(told_, {}); }

  Service service_;
  Mailbox<std::function<void()>> posted_;
  std::vector<std::string> told_;
  Report_identifier identifier_{std::make_unique<Scripted_report>(service_),
                                [this](std::function<void()> work) { posted_.put(std::move(work)); }};
};

TEST_F(AReport, IsReadAgainForThoseWhoComeDuringARead) {
  auto const first = read("first");
  service_.asked.take();
  auto const second = read("second");
  auto const third = read("third");
  service_.answers.put(Bytes{1});
  posted_.take()();
  EXPECT_THAT(told(), ElementsAre("first: 01"));
  answer(Bytes{2});
  EXPECT_THAT(told(), ElementsAre("second: 02", "third: 02"));
  EXPECT_TRUE(service_.asked.empty());
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

TEST_F(AReport, SaysHowTheServiceFailed) {
  std::vector<std::pair<Report_outcome, std::string>> const rows{
      {Service_failed{0x11}, "code 11"}, {Service_failed{0x22}, "code 22"}, {Service_failed{0x78}, "code 10"},
      {Service_failed{0x00}, "code 10"}, {Service_absent{}, "code 22"},     {Service_hung{}, "code 10"},
  };
  for (auto const& [outcome, expected] : rows) {
    auto const reader = read("reader");
    answer(outcome);
    EXPECT_THAT(told(), ElementsAre("reader: " + expected));
  }
}

}  // namespace
}  // namespace machine::diagnostic_manager::reports
