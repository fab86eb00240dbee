// SPDX-License-Identifier: Apache-2.0
// What a node says and when, and what it believes of others, in scripted time.
#include "platform/src/com/discovery/engine.h"

#include <set>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "tests/platform/com/discovery/hex.h"

namespace linux_platform::com::discovery {
namespace {

using boost::asio::ip::address_v4;
using boost::asio::ip::make_address_v4;
using std::chrono::milliseconds;
using namespace std::chrono_literals;

Service_key const statistics{0x6001, 1, 1, 0};
Service_key const report{0x6010, 1, 1, 0};
auto const own = make_address_v4("192.0.2.1");
Endpoint const own_endpoint{own, 30501};
Endpoint const peer{make_address_v4("192.0.2.10"), 30490};
Endpoint const served{peer.address, 30509};

class An_engine : public ::testing::Test, public Datagram_sink_if, public Discovery_listener_if {
 protected:
  struct Sent {
    milliseconds at;
    Endpoint to;
    Message message;
  };

  void send(std::vector<std::uint8_t> const& datagram, Endpoint const& destination) override {
    sent_.push_back({since_start(), destination, parse_message(datagram.data(), datagram.size()).value()});
  }
  void on_available(Service_key const& key, Endpoint const& endpoint) override {
    events_.push_back("+" + std::to_string(key.service) + ":" + std::to_string(endpoint.port));
  }
  void on_unavailable(Service_key const& key) override { events_.push_back("-" + std::to_string(key.service)); }
  void on_reboot(address_v4 const& address) override { events_.push_back("reboot " + address.to_string()); }
  void on_trouble(std::string const& /*what*/) override { events_.push_back("trouble"); }

  // Lets time pass; whatever is due runs at its own moment.
  void advance(milliseconds by) {
    auto const end = now_ + by;
    for (auto due = engine_.next_due(); due && *due <= end; due = engine_.next_due()) {
      now_ = std::max(now_, *due);
      engine_.run_due(now_);
    }
    now_ = end;
  }

  static Entry entry(Entry_type type, Service_key const& key, std::uint32_t ttl, Endpoint const& endpoint = served) {
    Entry made;
    made.type = type;
    made.key = key;
    made.ttl = ttl;
    if (type == Entry_type::offer) {
      made.endpoints = {{endpoint.address, protocol_tcp, endpoint.port}};
    }
    return made;
  }
  static Entry offer(Service_key const& key, std::uint32_t ttl = 3, Endpoint const& endpoint = served) {
    return entry(Entry_type::offer, key, ttl, endpoint);
  }
  static Entry find(Service_key const& key) { return entry(Entry_type::find, key, 3); }

  void receive(std::vector<Entry> entries, Path path = Path::multicast, Endpoint const& from = peer) {
    auto& session = sessions_[{from.address, path}];
    receive_stamped({static_cast<std::uint16_t>(++session), true}, std::move(entries), path, from);
  }
  void receive_stamped(Session_stamp stamp, std::vector<Entry> entries, Path path = Path::multicast,
                       Endpoint const& from = peer) {
    auto const bytes = build_message({stamp.session, stamp.reboot, std::move(entries), {}});
    engine_.receive(now_, path, from, bytes.data(), bytes.size());
  }

  std::vector<long> times() const {
    std::vector<long> all;
    for (auto const& sent : sent_) {
      all.push_back(sent.at.count());
    }
    return all;
  }
  milliseconds since_start() const { return std::chrono::duration_cast<milliseconds>(now_ - Time{}); }
  std::vector<std::string> take_events() { return std::exchange(events_, {}); }
  std::vector<Sent> take_sent() { return std::exchange(sent_, {}); }
  std::vector<Found> search(milliseconds window) {
    std::vector<Found> result;
    engine_.find(now_, {0x6001, any_instance, 1, any_minor}, window, [&](auto found) {
      result = std::move(found);
      ++answers_;
    });
    advance(window);
    return result;
  }

  Time now_;
  std::vector<Sent> sent_;
  std::vector<std::string> events_;
  std::map<std::pair<address_v4, Path>, int> sessions_;
  int answers_ = 0;
  // Every random delay is the longest.
  Engine engine_{Discovery_settings{}, own, [](auto, auto max) { return max; }, *this, *this};
};

using Events = std::vector<std::string>;

TEST_F(An_engine, AnnouncesInThreePhasesAndNumbersItsMessages) {
  engine_.offer(now_, statistics, own_endpoint);
  advance(4s);
  // Delay 10; then 30, 60, 120 after each; then 240 and a cycle; then cycles.
  EXPECT_EQ(times(), (std::vector<long>{10, 40, 100, 220, 1460, 2460, 3460}));
  std::uint16_t session = 0;
  for (auto const& sent : sent_) {
    EXPECT_EQ(sent.message.session, ++session);
    EXPECT_TRUE(sent.message.reboot);
    EXPECT_EQ(sent.to, (Endpoint{make_address_v4("224.224.224.245"), 30490}));
    EXPECT_EQ(sent.message.entries[0].ttl, 3U);
    EXPECT_EQ(sent.message.entries[0].endpoints[0].port, 30501);
  }
}

TEST_F(An_engine, AtRestSendsOneMessageACycleForAllItsOffers) {
  engine_.offer(now_, statistics, own_endpoint);
  advance(400ms);
  engine_.offer(now_, report, own_endpoint);
  advance(5s);
  take_sent();
  advance(10s);
  EXPECT_EQ(sent_.size(), 10U);
  for (auto const& sent : sent_) {
    EXPECT_EQ(sent.message.entries.size(), 2U);
  }
}

TEST_F(An_engine, TakesUpTheCycleAfterALongSleepWithoutABurst) {
  engine_.offer(now_, statistics, own_endpoint);
  advance(2s);
  take_sent();
  now_ += 1h;
  engine_.run_due(now_);
  advance(1500ms);
  EXPECT_EQ(sent_.size(), 2U);
}

TEST_F(An_engine, StopsOffersAtOnceAndSplitsWhatFitsNoFrame) {
  for (std::uint16_t i = 0; i < Local_offers::max_offers; ++i) {
    ASSERT_TRUE(engine_.offer(now_, {static_cast<std::uint16_t>(0x100 + i), 1, 1, 0}, own_endpoint));
  }
  EXPECT_FALSE(engine_.offer(now_, statistics, own_endpoint));
  engine_.withdraw({0x100, 1, 1, 0});
  ASSERT_EQ(sent_.size(), 1U);
  EXPECT_EQ(sent_[0].message.entries[0].ttl, ttl_withdrawn);
  take_sent();
  engine_.stop();
  ASSERT_EQ(sent_.size(), 2U);
  EXPECT_EQ(sent_[0].message.entries.size(), max_entries_sent);
  EXPECT_EQ(sent_[1].message.entries.size(), Local_offers::max_offers - 1 - max_entries_sent);
  advance(5s);
  EXPECT_EQ(sent_.size(), 2U);
}

TEST_F(An_engine, NumbersTurnFromTheLastTo1WithoutRebootFlag) {
  engine_.offer(now_, statistics, own_endpoint);
  advance(65'536s);
  ASSERT_GT(sent_.size(), 0x10000U);
  EXPECT_EQ(sent_[0xFFFE].message.session, 0xFFFF);
  EXPECT_TRUE(sent_[0xFFFE].message.reboot);
  EXPECT_EQ(sent_[0xFFFF].message.session, 1);
  EXPECT_FALSE(sent_[0xFFFF].message.reboot);
  receive({find(statistics)}, Path::unicast);
  EXPECT_EQ(sent_.back().message.session, 1) << "each peer has its own numbers";
  EXPECT_TRUE(sent_.back().message.reboot);
}

struct Question {
  char const* name;
  Service_key wanted;
  std::size_t answers;
};

TEST_F(An_engine, AnswersFindsThatMatchByUnicast) {
  engine_.offer(now_, {0x6001, 1, 1, 7}, own_endpoint);
  receive({find(statistics)}, Path::unicast);
  EXPECT_TRUE(sent_.empty()) << "nothing is answered before the first announcement";
  advance(300ms);
  for (auto const& q :
       {Question{"all wild", {0x6001, any_instance, any_major, any_minor}, 1}, Question{"exact", {0x6001, 1, 1, 7}, 1},
        Question{"other service", {0x6002, 1, 1, 7}, 0}, Question{"other instance", {0x6001, 2, 1, 7}, 0},
        Question{"other major", {0x6001, 1, 2, 7}, 0}, Question{"other minor", {0x6001, 1, 1, 6}, 0}}) {
    SCOPED_TRACE(q.name);
    take_sent();
    receive({find(q.wanted)}, Path::unicast);
    EXPECT_EQ(sent_.size(), q.answers) << "by unicast, at once";
    take_sent();
    receive({find(q.wanted), find(q.wanted)}, Path::multicast);
    EXPECT_TRUE(sent_.empty()) << "by multicast, after the response delay";
    advance(10ms);
    ASSERT_EQ(sent_.size(), q.answers);
    if (q.answers != 0) {
      EXPECT_EQ(sent_[0].to, peer);
      EXPECT_EQ(sent_[0].message.entries.size(), 1U);
    }
  }
}

TEST_F(An_engine, RefusesSubscriptionsThatCameByUnicast) {
  Entry subscribe = entry(Entry_type::subscribe, {0x6001, 1, 1, 0}, 3);
  subscribe.eventgroup = 9;
  subscribe.counter = 3;
  receive({subscribe}, Path::multicast);
  EXPECT_TRUE(sent_.empty());
  subscribe.endpoints = {{peer.address, 99, 0}};  // what it carries does not matter for the refusal
  receive({subscribe}, Path::unicast);
  ASSERT_EQ(sent_.size(), 1U);
  auto const& refusal = sent_[0].message.entries[0];
  EXPECT_EQ(refusal.type, Entry_type::subscribe_ack);
  EXPECT_EQ(refusal.ttl, 0U);
  EXPECT_EQ(refusal.eventgroup, 9);
  EXPECT_EQ(refusal.counter, 3);
  subscribe.ttl = 0;
  receive({subscribe}, Path::unicast);
  EXPECT_EQ(sent_.size(), 1U);
}

TEST_F(An_engine, KnowsAnOfferUntilItsLifetimeIsOver) {
  receive({offer(statistics), offer(report, ttl_until_reboot)});
  advance(2s);
  receive({offer(statistics)});
  advance(2999ms);
  EXPECT_EQ(take_events(), (Events{"+24577:30509", "+24592:30509"}));
  advance(1ms);
  EXPECT_EQ(take_events(), Events{"-24577"});
  advance(100h);
  EXPECT_EQ(engine_.live(report).size(), 1U);
}

TEST_F(An_engine, TellsOnlyWhatAMessageChangedInTheEnd) {
  receive({offer(statistics)});
  take_events();
  receive({offer(statistics, 0), offer(statistics)});
  EXPECT_EQ(take_events(), Events{});
  receive({offer(statistics, 0), offer(statistics, 3, {peer.address, 4000})});
  EXPECT_EQ(take_events(), Events{"+24577:4000"});
  receive({offer({0x6001, 1, 1, 5}, 3, {peer.address, 4000})});
  EXPECT_EQ(take_events(), (Events{"-24577", "+24577:4000"})) << "another minor version is another service";
  receive({offer({0x6001, 1, 1, 5}, 0)});
  EXPECT_EQ(take_events(), Events{"-24577"});
}

TEST_F(An_engine, LeavesAnInstanceToTheNodeThatOfferedItFirst) {
  Endpoint const other{make_address_v4("192.0.2.11"), 30490};
  receive({offer(statistics)});
  receive({offer(statistics, 3, {other.address, 1})}, Path::multicast, other);
  receive({offer(statistics, 0)}, Path::multicast, other);
  EXPECT_EQ(take_events(), Events{"+24577:30509"});
  engine_.offer(now_, report, own_endpoint);
  receive({offer(report)});
  EXPECT_EQ(take_events(), Events{"+24592:30501"}) << "what is offered here is not taken from elsewhere";
}

struct Stamps {
  char const* name;
  Session_stamp old_stamp;
  Session_stamp new_stamp;
  bool reboot;
};

TEST_F(An_engine, SeesThatAPeerStartedAnew) {
  std::uint32_t address = 0xC0000300;
  for (auto const& c :
       {Stamps{"next", {5, true}, {6, true}, false}, Stamps{"gap", {5, true}, {900, true}, false},
        Stamps{"same number", {5, true}, {5, true}, true}, Stamps{"lower", {5, true}, {1, true}, true},
        Stamps{"wrap", {0xFFFF, true}, {1, false}, false}, Stamps{"wrap again", {0xFFFF, false}, {1, false}, false},
        Stamps{"flag comes back", {5, false}, {6, true}, true}}) {
    for (auto const path : {Path::multicast, Path::unicast}) {
      SCOPED_TRACE(c.name);
      Endpoint const from{address_v4{++address}, 30490};
      receive_stamped(c.old_stamp, {offer(statistics)}, path, from);
      take_events();
      receive_stamped(c.new_stamp, {}, path, from);
      EXPECT_EQ(take_events(), c.reboot ? (Events{"reboot " + from.address.to_string(), "-24577"}) : Events{});
      receive_stamped({static_cast<std::uint16_t>(c.new_stamp.session + 1), c.new_stamp.reboot}, {offer(statistics, 0)},
                      path, from);
      take_events();
    }
  }
}

TEST_F(An_engine, SeesOneRestartOnceAlthoughBothPathsShowIt) {
  receive_stamped({7, true}, {offer(statistics)}, Path::multicast);
  receive_stamped({7, true}, {offer(statistics)}, Path::unicast);
  take_events();
  receive_stamped({1, true}, {offer(statistics)}, Path::unicast);
  EXPECT_EQ(take_events(), (Events{"reboot 192.0.2.10", "-24577", "+24577:30509"}));
  receive_stamped({1, true}, {offer(statistics)}, Path::multicast);
  EXPECT_EQ(take_events(), Events{});
}

TEST_F(An_engine, IgnoresWhatIsNotBelievable) {
  auto const endpoint = [](char const* address, std::uint16_t port = 30509, std::uint8_t protocol = protocol_tcp) {
    return Endpoint_option{make_address_v4(address), protocol, port};
  };
  struct Case {
    char const* name;
    Service_key key;
    std::vector<Endpoint_option> endpoints;
  };
  auto const good = endpoint("192.0.2.10");
  for (auto const& c : {
           Case{"no endpoint", statistics, {}},
           Case{"only UDP", statistics, {endpoint("192.0.2.10", 30509, protocol_udp)}},
           Case{"two of one protocol", statistics, {good, endpoint("192.0.2.10", 30510)}},
           Case{"unknown protocol", statistics, {good, endpoint("192.0.2.10", 30509, 0x84)}},
           Case{"port 0", statistics, {endpoint("192.0.2.10", 0)}},
           Case{"multicast", statistics, {endpoint("224.0.0.1")}},
           Case{"unspecified", statistics, {endpoint("0.0.0.0")}},
           Case{"broadcast", statistics, {endpoint("255.255.255.255")}},
           Case{"own", statistics, {endpoint("192.0.2.1")}},
           Case{"loopback", statistics, {endpoint("127.0.0.1")}},
           Case{"any instance", {0x6001, any_instance, 1, 0}, {good}},
           Case{"instance 0", {0x6001, 0, 1, 0}, {good}},
           Case{"any major", {0x6001, 1, any_major, 0}, {good}},
       }) {
    auto entry = offer(c.key);
    entry.endpoints = c.endpoints;
    receive({entry});
    EXPECT_EQ(take_events(), Events{}) << c.name;
  }
  receive({offer(statistics)}, Path::multicast, {own, 30490});
  receive({offer(statistics)}, Path::multicast, {peer.address, 30491});
  EXPECT_EQ(take_events(), Events{}) << "from oneself, from another port";
  auto both = offer(statistics);
  both.endpoints = {endpoint("192.0.2.10", 30509, protocol_udp), good};
  receive({both});
  EXPECT_EQ(take_events(), Events{"+24577:30509"});
}

TEST_F(An_engine, TakesEntriesForWhatTheyAreWorth) {
  std::string const header = "FF FF 81 00 00 00 00 30 00 00 00 00 01 01 02 00 C0 00 00 00 00 00 00 10 ";
  std::string const ids = "60 01 00 01 01 00 00 03 00 00 00 00 00 00 00 0C ";
  std::string const tcp_option = "00 09 04 00 C0 00 02 0A 00 06 77 2D";
  std::string const find_it = "00 00 00 00 60 01 00 01 01 00 00 03 00 00 00 00 00 00 00 0C ";
  struct Case {
    char const* name;
    std::string bytes;
    Events events;
    std::vector<Endpoint> answered;
  };
  engine_.offer(now_, statistics, own_endpoint);
  advance(5s);
  take_events();
  std::uint8_t session = 0;
  for (auto const& c : {
           Case{"an offer partly behind the last option", "01 00 05 11 60 02" + ids.substr(5) + tcp_option, {}, {}},
           Case{"an offer", "01 00 00 10 60 02" + ids.substr(5) + tcp_option, {"+24578:30509"}, {}},
           Case{"a stop that needs no endpoint",
                "01 00 00 00 60 02 00 01 01 00 00 00 00 00 00 00 00 00 00 00",
                {"-24578"},
                {}},
           Case{"a find behind the last option", "00 05 00 10 " + ids + tcp_option, {}, {}},
           Case{"a find with an endpoint", "00 00 00 10 " + ids + tcp_option, {}, {peer}},
           Case{"a subscription behind the last option, its initial data bit set",
                "06 05 00 10 60 01 00 01 01 00 00 03 00 83 00 09 00 00 00 0C " + tcp_option,
                {},
                {peer}},
           Case{"a sender that names its endpoint",
                find_it + "00 09 24 00 C0 00 02 63 00 11 77 1B",
                {},
                {{make_address_v4("192.0.2.99"), 30491}}},
           Case{"a sender that names ours", find_it + "00 09 24 00 C0 00 02 01 00 11 77 1B", {}, {}},
           Case{"a sender that names a TCP port", find_it + "00 09 24 00 C0 00 02 63 00 06 77 1B", {}, {}},
       }) {
    SCOPED_TRACE(c.name);
    take_sent();
    auto bytes = bytes_of(header + c.bytes);
    bytes[7] = static_cast<std::uint8_t>(bytes.size() - 8);
    bytes[11] = ++session;
    engine_.receive(now_, Path::unicast, peer, bytes.data(), bytes.size());
    EXPECT_EQ(take_events(), c.events);
    ASSERT_EQ(sent_.size(), c.answered.size());
    if (!sent_.empty()) {
      EXPECT_EQ(sent_[0].to, c.answered[0]);
      EXPECT_LE(sent_[0].message.entries[0].counter, 3);
    }
  }
}

TEST(AnEndpointFilter, FollowsTheSettings) {
  Discovery_settings settings;
  std::vector<Endpoint_option> const loopback{{make_address_v4("127.0.0.9"), protocol_tcp, 1}};
  EXPECT_TRUE(Endpoint_filter(settings, make_address_v4("127.0.0.1")).tcp_endpoint(loopback));
  settings.loopback_endpoints = false;
  EXPECT_FALSE(Endpoint_filter(settings, make_address_v4("127.0.0.1")).tcp_endpoint(loopback));
  settings.endpoint_network = boost::asio::ip::make_network_v4("192.0.2.0/28");
  EXPECT_TRUE(Endpoint_filter(settings, own).tcp_endpoint({{make_address_v4("192.0.2.15"), protocol_tcp, 1}}));
  EXPECT_FALSE(Endpoint_filter(settings, own).tcp_endpoint({{make_address_v4("192.0.2.16"), protocol_tcp, 1}}));
}

TEST_F(An_engine, SearchesAtOnceAndAgainUntilTheWindowIsOver) {
  EXPECT_TRUE(search(90ms).empty());
  EXPECT_EQ(answers_, 1);
  EXPECT_EQ(times(), (std::vector<long>{0, 30})) << "none when the window closes";
  EXPECT_EQ(sent_[0].message.entries[0].key, (Service_key{0x6001, any_instance, 1, any_minor}));
  EXPECT_FALSE(engine_.next_due()) << "no questions outlive the search";
}

TEST_F(An_engine, EndsASearchWithTheFirstOfferAndAnswersFromLiveOnes) {
  int calls = 0;
  std::size_t found_here = 0;
  engine_.find(now_, {0x6001, any_instance, any_major, any_minor}, 100ms, [&](auto found) {
    ++calls;
    found_here = found.size();
  });
  advance(10ms);
  receive({offer({0x6001, 2, 2, 0}), offer(statistics)}, Path::unicast);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(found_here, 2U);
  advance(1s);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(times(), std::vector<long>{0}) << "an offer ends the questions";
  auto const again = search(0ms);
  ASSERT_EQ(again.size(), 1U);
  EXPECT_EQ(again[0].key, statistics);
  EXPECT_EQ(sent_.size(), 1U);
}

TEST_F(An_engine, FindsItsOwnOffersAndEndsSearchesWhenItStops) {
  std::size_t found_here = 99;
  engine_.find(now_, {0x6001, 1, 1, any_minor}, 100ms, [&](auto found) { found_here = found.size(); });
  engine_.offer(now_, statistics, own_endpoint);
  EXPECT_EQ(found_here, 1U);
  engine_.find(now_, {0x6010, 1, 1, any_minor}, 100ms, [&](auto found) { found_here = found.size(); });
  engine_.stop();
  EXPECT_EQ(found_here, 0U);
  EXPECT_EQ(take_events(), (Events{"+24577:30501", "-24577"}));
}

TEST_F(An_engine, SaysOnceThatALimitIsReached) {
  for (std::uint32_t i = 0; i < Remote_offers::max_offers + 2; ++i) {
    receive({offer({static_cast<std::uint16_t>(i / 100 + 1), static_cast<std::uint16_t>(i % 100 + 1), 1, 0})});
  }
  auto const events = take_events();
  EXPECT_EQ(events.size(), Remote_offers::max_offers + 1);
  EXPECT_EQ(events.back(), "trouble");
  int empty = 0;
  for (std::size_t i = 0; i < Searches::max_searches + 2; ++i) {
    engine_.find(now_, {0x6001, 1, 1, any_minor}, 100ms, [&](auto const& /*found*/) { ++empty; });
  }
  EXPECT_EQ(empty, 2);
  EXPECT_EQ(take_events(), Events{"trouble"});
}

TEST(Peers, ForgottenOnesAreNotMadeToSeeARestart) {
  Peers peers;
  auto const address = [](std::uint32_t i) { return address_v4{0x0A000000U + i}; };
  peers.accept(address(0), Path::unicast, {1, true});
  for (int i = 0; i < 5; ++i) {
    peers.next_to(address(0));
  }
  for (std::uint32_t i = 1; i <= Peers::max_peers; ++i) {
    peers.accept(address(i), Path::unicast, {1, true});
  }
  EXPECT_EQ(peers.next_to(address(0)).session, 6);
  EXPECT_FALSE(peers.accept(address(0), Path::unicast, {1, true})) << "it was forgotten";
}

}  // namespace
}  // namespace linux_platform::com::discovery
