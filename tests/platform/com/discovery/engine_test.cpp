// SPDX-License-Identifier: Apache-2.0
// What a node says and when, and what it believes of others, in scripted time.
#include "platform/src/com/discovery/engine.h"

#include <fstream>
#include <map>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/platform/com/hex.h"

namespace linux_platform::com::discovery {
namespace {

using boost::asio::ip::address_v4;
using boost::asio::ip::make_address_v4;
using std::chrono::milliseconds;
using namespace std::chrono_literals;
using Events = std::vector<std::string>;

Service_key const statistics{0x6001, 1, 1, 0};
Service_key const report{0x6010, 1, 1, 0};
auto const own = make_address_v4("192.0.2.1");
Endpoint const own_endpoint{own, 30501};
Endpoint const peer{make_address_v4("192.0.2.10"), 30490};
Endpoint const served{peer.address, 30509};

Entry find(Service_key const& key) { return {Entry_type::find, key, 3, 0, 0, {}, true}; }
Entry offer(Service_key const& key, std::uint32_t ttl = 3, Endpoint const& at = served) {
  return {Entry_type::offer, key, ttl, 0, 0, {{at.address, protocol_tcp, at.port}}, true};
}

class An_engine : public ::testing::Test, public Datagram_sink_if, public Discovery_listener_if {
 protected:
  struct Sent {
    Endpoint to;
    Message message;
  };

  void send(std::vector<std::uint8_t> const& datagram, Endpoint const& destination) override {
    sent_.push_back({destination, parse_message(datagram.data(), datagram.size()).value()});
    times_.push_back(std::chrono::duration_cast<milliseconds>(now_ - Time{}).count());
  }
  void on_available(Service_key const& key, Endpoint const& endpoint) override {
    events_.push_back("+" + std::to_string(key.service) + ":" + std::to_string(endpoint.port));
  }
  void on_unavailable(Service_key const& key) override { events_.push_back("-" + std::to_string(key.service)); }
  void on_reboot(address_v4 const& address, Time /*last_heard*/) override {
    events_.push_back("reboot " + address.to_string());
  }
  void on_trouble(std::string const& /*what*/) override { events_.push_back("trouble"); }

  // Lets time pass; whatever is due runs at its own moment.
  Events advance(milliseconds by) {
    auto const end = now_ + by;
    for (auto due = engine_.next_due(); due && *due <= end; due = engine_.next_due()) {
      now_ = std::max(now_, *due);
      engine_.run_due(now_);
    }
    now_ = end;
    return std::exchange(events_, {});
  }
  Events receive(std::vector<Entry> entries, Path path = Path::multicast, Endpoint const& from = peer) {
    return receive({static_cast<std::uint16_t>(++sessions_[{from.address, path}]), true}, std::move(entries), path,
                   from);
  }
  Events receive(Session_stamp stamp, std::vector<Entry> entries, Path path, Endpoint const& from = peer) {
    auto const bytes = build_message({stamp.session, stamp.reboot, std::move(entries), {}});
    engine_.receive(now_, path, from, bytes.data(), bytes.size());
    return std::exchange(events_, {});
  }
  // Each search that ends adds the number of what it found.
  void search(Service_key const& wanted = {0x6001, any_instance, 1, any_minor}, milliseconds window = 100ms) {
    engine_.find(now_, wanted, window, [this](auto const& found) { found_.push_back(found.size()); });
  }

  Time now_;
  std::vector<Sent> sent_;
  std::vector<long> times_;
  Events events_;
  std::vector<std::size_t> found_;
  std::map<std::pair<address_v4, Path>, int> sessions_;
  static Discovery_settings settings() {
    Discovery_settings settings;
    settings.services = {statistics.service, 0x6002, report.service};
    return settings;
  }
  // Every random delay is the longest.
  Engine engine_{settings(), own, [](auto, auto max) { return max; }, *this, *this};
};

TEST_F(An_engine, AnnouncesInThreePhasesAndNumbersItsMessages) {
  engine_.offer(now_, statistics, own_endpoint);
  advance(4s);
  // Delay 10; then 30, 60, 120 after each; then 240 and a cycle; then cycles.
  EXPECT_EQ(times_, (std::vector<long>{10, 40, 100, 220, 1460, 2460, 3460}));
  EXPECT_EQ(sent_.back().to, (Endpoint{make_address_v4("224.224.224.245"), 30490}));
  advance(65'532s);
  for (std::size_t i = 0; i <= 0xFFFF; ++i) {
    ASSERT_EQ(sent_.at(i).message.session, i < 0xFFFF ? i + 1 : 1);
    ASSERT_EQ(sent_.at(i).message.reboot, i < 0xFFFF);
  }
  receive({find(statistics)}, Path::unicast);
  EXPECT_EQ(sent_.back().message.session, 1) << "each peer has its own numbers";
  EXPECT_TRUE(sent_.back().message.reboot);
}

TEST_F(An_engine, SendsAllItsOffersInOneMessageACycleUnlessTheyFitNoFrame) {
  for (std::uint16_t i = 0; i < Local_offers::max_offers; ++i) {
    ASSERT_TRUE(engine_.offer(now_, {static_cast<std::uint16_t>(0x100 + i), 1, 1, 0}, own_endpoint));
    if (i == 1) {
      advance(5s);
      sent_.clear();
      now_ += 1h;  // the machine slept; what was missed is not made up for
      engine_.run_due(now_);
      advance(1500ms);
      EXPECT_EQ(sent_.size(), 2U);
      EXPECT_EQ(sent_.back().message.entries.size(), 2U);
    }
  }
  EXPECT_FALSE(engine_.offer(now_, statistics, own_endpoint));
  sent_.clear();
  engine_.withdraw({0x100, 1, 1, 0});
  engine_.stop();
  ASSERT_EQ(sent_.size(), 3U);
  EXPECT_EQ(sent_[0].message.entries[0].ttl, ttl_withdrawn);
  EXPECT_EQ(sent_[1].message.entries.size(), max_entries_sent);
  EXPECT_EQ(sent_[2].message.entries.size(), Local_offers::max_offers - 1 - max_entries_sent);
  EXPECT_FALSE(engine_.next_due());
}

TEST_F(An_engine, AnswersByUnicastOnceAMessage) {
  engine_.offer(now_, statistics, own_endpoint);
  receive({find(statistics)}, Path::unicast);
  EXPECT_TRUE(sent_.empty()) << "nothing is answered before the first announcement";
  advance(300ms);
  sent_.clear();
  receive({find(statistics), find(statistics)}, Path::unicast);
  receive({find(statistics), find(statistics)}, Path::multicast);
  EXPECT_EQ(sent_.size(), 1U) << "by multicast, after the response delay";
  advance(10ms);
  Entry const subscription{Entry_type::subscribe, statistics, 3, 1, 0, {}, true};
  receive({subscription, subscription}, Path::unicast);
  ASSERT_EQ(sent_.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(sent_[i].to, peer);
    EXPECT_EQ(sent_[i].message.entries.size(), i < 2 ? 1U : 2U);
  }
}

TEST_F(An_engine, TakesEntriesForWhatTheyAreWorth) {
  engine_.offer(now_, statistics, own_endpoint);
  advance(5s);
  for (auto const& row : nlohmann::json::parse(std::ifstream(ENTRIES))) {
    SCOPED_TRACE(row);
    sent_.clear();
    auto bytes = bytes_of("FFFF8100 00000000 00000000 01010200 C0000000 00000010 " + row.value("entry", "") +
                          row.value("options", ""));
    bytes[7] = static_cast<std::uint8_t>(bytes.size() - 8);
    bytes[11] = static_cast<std::uint8_t>(++sessions_[{peer.address, Path::unicast}]);
    engine_.receive(now_, row.at("by") == "unicast" ? Path::unicast : Path::multicast, peer, bytes.data(),
                    bytes.size());
    EXPECT_EQ(advance(0ms), row.value("heard", Events{}));
    Events answered;
    for (auto const& sent : sent_) {
      answered.push_back(sent.to.address.to_string() + ":" + std::to_string(sent.to.port));
      EXPECT_LE(sent.message.entries[0].counter, 3) << "the bits beside the counter are not repeated";
    }
    EXPECT_EQ(answered, row.value("answered", Events{}));
  }
}

TEST_F(An_engine, BelievesOffersFromWhereTheyCameFirstForAsLongAsTheySay) {
  Endpoint const other{make_address_v4("192.0.2.11"), 30490};
  Endpoint const elsewhere{peer.address, 4000};
  EXPECT_EQ(receive({offer(statistics), offer(report, ttl_until_reboot)}), (Events{"+24577:30509", "+24592:30509"}));
  advance(2s);
  EXPECT_EQ(receive({offer(statistics, 0), offer(statistics)}), Events{}) << "nothing has changed in the end";
  Service_key const another{0x6002, 1, 1, 0};
  EXPECT_EQ(receive({offer(another)}, Path::multicast, {own, 30490}), Events{}) << "ourselves";
  EXPECT_EQ(receive({offer(another)}, Path::multicast, {peer.address, 30491}), Events{}) << "not the stack";
  EXPECT_EQ(receive({offer({0x6003, 1, 1, 0})}), Events{}) << "a service that nobody here knows";
  EXPECT_EQ(receive({offer(statistics, 3, {other.address, 1}), offer(statistics, 0)}, Path::multicast, other),
            Events{});
  EXPECT_EQ(advance(2999ms), Events{});
  EXPECT_EQ(advance(1ms), Events{"-24577"});
  advance(100h);
  EXPECT_EQ(engine_.live(report).size(), 1U);
  receive({offer(statistics)});
  EXPECT_EQ(receive({offer(statistics, 0), offer(statistics, 3, elsewhere)}), Events{"+24577:4000"});
  EXPECT_EQ(receive({offer({0x6001, 1, 1, 5}, 3, elsewhere)}), (Events{"-24577", "+24577:4000"})) << "another version";
  receive({offer(another)});
  engine_.offer(now_, another, own_endpoint);
  EXPECT_EQ(receive({offer(another), offer(another, 0)}), (Events{"-24578", "+24578:30501"}))
      << "what is offered here is not taken from elsewhere";
}

TEST_F(An_engine, SeesThatAPeerStartedAnew) {
  receive({7, true}, {offer(statistics)}, Path::multicast);
  receive({7, true}, {offer(statistics)}, Path::unicast);
  EXPECT_EQ(receive({1, true}, {offer(statistics)}, Path::unicast),
            (Events{"reboot 192.0.2.10", "-24577", "+24577:30509"}));
  EXPECT_EQ(receive({1, true}, {offer(statistics)}, Path::multicast), Events{}) << "both paths show one restart";
}

TEST_F(An_engine, SearchesUntilTheFirstOfferOrTheEndOfTheWindow) {
  search({0x6001, 2, any_major, any_minor}, 90ms);
  advance(89ms);
  EXPECT_TRUE(found_.empty());
  advance(1ms);
  EXPECT_EQ(times_, (std::vector<long>{0, 30})) << "none when the window closes";
  EXPECT_EQ(sent_[0].message.entries[0].key, (Service_key{0x6001, 2, any_major, any_minor}));
  EXPECT_FALSE(engine_.next_due()) << "no questions outlive the search";
  search();
  receive({offer({0x6001, 2, 1, 0}), offer(statistics)}, Path::unicast);
  advance(1s);
  EXPECT_EQ(times_.size(), 3U) << "an offer ends the questions";
  search();
  EXPECT_EQ(times_.size(), 3U) << "what is known is not asked for";
  EXPECT_EQ(found_, (std::vector<std::size_t>{0, 2, 2}));
}

TEST_F(An_engine, FindsItsOwnOffersAndEndsSearchesWhenItStops) {
  search();
  engine_.offer(now_, {0x6001, 2, 1, 0}, own_endpoint);
  EXPECT_EQ(receive({offer(statistics)}), (Events{"+24577:30501", "+24577:30509"}));
  EXPECT_EQ(engine_.live({0x6001, any_instance, 1, any_minor}).at(0).key, statistics) << "in the order of the keys";
  search(report);
  engine_.stop();
  EXPECT_EQ(found_, (std::vector<std::size_t>{1, 0}));
  EXPECT_EQ(advance(0ms), Events{"-24577"});
}

TEST_F(An_engine, SaysOnceThatALimitIsReached) {
  Service_key const first{0x6001, 1, 1, 0};
  Service_key const second{0x6001, 2, 1, 0};
  Service_key further{0x6001, 3, 1, 0};
  receive({offer(first), offer(second)});
  for (; further.instance <= Remote_offers::max_offers; ++further.instance) {
    ASSERT_EQ(receive({offer(further)}).size(), 1U);
  }
  EXPECT_EQ(receive({offer(further), offer(further)}), Events{"trouble"});
  EXPECT_EQ(receive({offer(first, 0), offer(second, 0), offer(first), offer(second), offer(further)}), Events{})
      << "a peer does not decide how often";
  for (std::size_t i = 0; i < Searches::max_searches + 2; ++i) {
    search({0x7FFF, 1, 1, any_minor});
  }
  EXPECT_EQ(found_, (std::vector<std::size_t>{0, 0}));
  EXPECT_EQ(events_, Events{"trouble"});
}

}  // namespace
}  // namespace linux_platform::com::discovery
