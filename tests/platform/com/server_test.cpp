// SPDX-License-Identifier: Apache-2.0
// What a node answers to a client that says whatever a test wants: the ordered checks, the framing, the limits, and
// methods that run beside each other.
#include <future>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tarn/com/cpp_binding/application_error_exception.h"
#include "tests/platform/com/gate.h"
#include "tests/platform/com/hex.h"
#include "tests/platform/com/node.h"
#include "tests/platform/com/raw_peer.h"

namespace linux_platform::com {
namespace {

using tarn::com::cpp_binding::Deserializer;
using tarn::com::cpp_binding::Serializer;
using testing_support::Bytes;
using testing_support::Gate;
using testing_support::joined;
using testing_support::message;
using testing_support::Raw_peer;

constexpr std::uint16_t echo_id = 1;
constexpr std::uint16_t gate_id = 2;
constexpr std::uint16_t error_id = 3;
constexpr std::uint16_t flood_id = 4;
constexpr std::size_t flood_size = 50'000;

struct Numbered_error final : tarn::com::cpp_binding::Application_error_exception {
  explicit Numbered_error(std::uint8_t code) : number(code) {}
  char const* what() const noexcept override { return "Numbered_error"; }
  std::uint8_t error_code() const noexcept override { return number; }
  void serialize(std::vector<std::uint8_t>& out) const override { out.push_back(0xEE); }
  std::uint8_t number;
};

class AServer : public testing::Test {
 protected:
  void start(Limits const& limits = {}) {
    node_ = testing_support::node(1, limits);
    auto const echo = node_->deployment("test::Echo");
    service_ = std::make_shared<Offered_service>(echo, echo->instances.at("one"));
    service_->add_method(echo_id, [](Deserializer& in, Serializer& out) { out.write_bytes(in.read_bytes()); });
    service_->add_method(gate_id, [this](Deserializer& /*in*/, Serializer& /*out*/) { gate_.pass(); });
    service_->add_method(error_id, [](Deserializer& in, Serializer& out) {
      out.write_u32(0);
      std::uint8_t const number = in.read_u8();
      if (number == 0xFF) {
        throw std::out_of_range("not the deserializer's");
      }
      throw Numbered_error(number);
    });
    service_->add_method(flood_id, [](Deserializer& /*in*/, Serializer& out) { out.write_bytes(Bytes(flood_size)); });
    node_->offer(service_);
  }
  void TearDown() override { gate_.open(); }

  Raw_peer client() const { return {node_->settings().address.to_string(), service_->port()}; }

  static Header request(std::uint16_t method, std::uint16_t session) {
    Header header = read_header(bytes_of("60010000 00000008 42420000 01010000").data());
    header.method = method;
    header.session = session;
    return header;
  }
  static Bytes echo(std::uint16_t session) { return message(request(echo_id, session), bytes_of("00000001 AB")); }
  static Bytes echo_answer(std::uint16_t session) {
    return testing_support::answer(echo(session), bytes_of("00000001 AB"));
  }

  Gate gate_;
  std::shared_ptr<Runtime> node_;
  std::shared_ptr<Offered_service> service_;
};

struct Exchange {
  char const* what;
  char const* sent;
  char const* answered;  ///< nothing: discarded
};

TEST_F(AServer, AnswersByTheOrderedChecksAndServesOn) {
  start();
  Raw_peer peer = client();
  std::uint16_t session = 100;
  for (Exchange const& row : {
           Exchange{"version, then service", "60090001 00000008 00420001 02020000",
                    "60090001 00000008 00420001 01028107"},
           {"service, then interface", "60090001 00000008 00420001 01020000", "60090001 00000008 00420001 01028102"},
           {"interface, then method", "60017777 00000008 00420001 01020000", "60017777 00000008 00420001 01028108"},
           {"method", "60017777 00000008 00420002 01010000", "60017777 00000008 00420002 01018103"},
           {"malformed", "60010001 0000000A 00420002 01010000 0000", "60010001 00000008 00420002 01018109"},
           {"session 0", "60010001 0000000C 00000000 01010000 00000000",
            "60010001 0000000C 00000000 01018000 00000000"},
           {"return code", "60010001 0000000C 00420003 01010001 00000000",
            "60010001 0000000C 00420003 01018000 00000000"},
           {"more", "60010001 0000000D 00420003 01010000 00000000 77", "60010001 0000000C 00420003 01018000 00000000"},
           {"application error", "60010003 00000009 00420004 01010000 02", "60010003 00000009 00420004 01018121 EE"},
           {"the least", "60010003 00000009 00420004 01010000 01", "60010003 00000009 00420004 01018120 EE"},
           {"the greatest", "60010003 00000009 00420004 01010000 3F", "60010003 00000009 00420004 0101815E EE"},
           {"beyond the greatest", "60010003 00000009 00420004 01010000 40", "60010003 00000008 00420004 01018101"},
           {"impossible", "60010003 00000009 00420004 01010000 00", "60010003 00000008 00420004 01018101"},
           {"any other exception", "60010003 00000009 00420004 01010000 FF", "60010003 00000008 00420004 01018101"},
           {"fire and forget of nothing", "60090001 00000008 00420001 01010100", ""},
           {"fire and forget of what is answered", "60010001 0000000C 00420001 01010100 00000000", ""},
           {"notification", "60018001 00000008 00000001 01010200", ""},
           {"event, then version", "60018001 00000008 00000001 02010000", ""},
           {"response to nothing", "60010001 00000008 00420001 01018000", ""},
           {"impossible type", "60010001 00000008 00420001 01015500", ""},
           {"segment", "60010001 00000008 00420001 01012000", ""},
           {"error for an error", "60017777 00000008 00420001 01010005", ""},
           {"magic cookie", "FFFF0000 00000008 DEADBEEF 01010100", ""},
       }) {
    peer.send(bytes_of(row.sent));
    if (*row.answered != '\0') {
      EXPECT_EQ(peer.receive_message(), bytes_of(row.answered)) << row.what;
    }
    peer.send(echo(++session));
    ASSERT_EQ(peer.receive_message(), echo_answer(session)) << row.what;
  }
}

TEST_F(AServer, ServesAStreamHoweverItIsCut) {
  start();
  Raw_peer peer = client();
  for (std::uint8_t const byte : echo(1)) {
    peer.send({byte});
  }
  EXPECT_EQ(peer.receive_message(), echo_answer(1));
  Bytes several;
  std::multiset<Bytes> expected;
  for (std::uint16_t session = 2; session < 300; ++session) {
    several = joined({several, echo(session)});
    expected.insert(echo_answer(session));
  }
  peer.send(several);
  peer.end_sending();
  std::multiset<Bytes> answers;
  for (Bytes answer; !(answer = peer.receive_message()).empty();) {
    answers.insert(answer);
  }
  EXPECT_EQ(answers, expected);
}

TEST_F(AServer, ClosesAStreamThatCannotBeFollowed) {
  Limits limits;
  limits.message_bytes = 64;
  start(limits);
  for (char const* hex : {"60010001 00000000", "60010001 00000007", "60010001 00000039", "60010001 7FFFFFFF", "6001"}) {
    Raw_peer peer = client();
    peer.send(echo(1));
    EXPECT_EQ(peer.receive_message(), echo_answer(1));
    peer.send(bytes_of(hex));
    if (std::string(hex) == "6001") {
      peer.end_sending();
    }
    EXPECT_TRUE(peer.at_end()) << hex;
  }
  Raw_peer greatest = client();
  greatest.send(joined({bytes_of("60017777 00000038 00420001 01010000"), Bytes(48)}));
  EXPECT_EQ(greatest.receive_message(), bytes_of("60017777 00000008 00420001 01018103"));
}

TEST_F(AServer, RunsMethodsBesideEachOtherUpToItsThreadsAndAnswersAll) {
  Limits limits;
  limits.worker_threads = 3;
  start(limits);
  Raw_peer one = client();
  Raw_peer two = client();
  one.send(joined({message(request(gate_id, 1)), message(request(gate_id, 2))}));
  ASSERT_TRUE(gate_.await_inside(2)) << "two of one connection, read together";
  one.send(echo(3));
  EXPECT_EQ(one.receive_message(), echo_answer(3)) << "overtakes those inside";
  two.send(message(request(gate_id, 4)));
  ASSERT_TRUE(gate_.await_inside(3));

  // All threads are inside a method: requests wait, discovery goes on.
  two.send(echo(5));
  auto const observer = testing_support::node(2);
  EXPECT_EQ(observer->find(service_->deployment(), 1), std::vector<std::uint16_t>{1});
  EXPECT_FALSE(two.has_input());
  gate_.open();
  auto const two_sessions = [](Raw_peer& peer) {
    return std::set<int>{read_header(peer.receive_message().data()).session,
                         read_header(peer.receive_message().data()).session};
  };
  EXPECT_EQ(two_sessions(one), (std::set<int>{1, 2}));
  EXPECT_EQ(two_sessions(two), (std::set<int>{4, 5}));
  EXPECT_EQ(gate_.visits(), 3U);
}

TEST_F(AServer, KeepsNoAnswerWaitingForAMethodThatCameWithIt) {
  Limits limits;
  limits.worker_threads = 1;
  start(limits);
  Raw_peer peer = client();
  peer.send(joined({echo(1), message(request(gate_id, 2))}));
  EXPECT_EQ(peer.receive_message(), echo_answer(1));
  ASSERT_TRUE(gate_.await_inside(1));
  gate_.open();
  EXPECT_EQ(read_header(peer.receive_message().data()).session, 2);
}

TEST_F(AServer, RefusesConnectionsBeyondItsLimitUntilOneIsFree) {
  Limits limits;
  limits.connections = 2;
  start(limits);
  Raw_peer first = client();
  first.send(echo(1));
  first.receive_message();
  {
    Raw_peer second = client();
    second.send(echo(2));
    second.receive_message();
    EXPECT_TRUE(client().at_end());
  }
  for (bool served = false; !served;) {
    Raw_peer again = client();
    again.send(echo(3));
    served = again.receive_message() == echo_answer(3);
  }
  first.send(echo(4));
  EXPECT_EQ(first.receive_message(), echo_answer(4));
}

TEST_F(AServer, KeepsNothingBackFromASlowReaderAndNothingFromOthers) {
  start();
  Raw_peer slow = client();
  constexpr std::uint16_t requests = 200;
  for (std::uint16_t session = 1; session <= requests; ++session) {
    slow.send(message(request(flood_id, session)));
  }
  Raw_peer other = client();
  other.send(echo(1));
  EXPECT_EQ(other.receive_message(), echo_answer(1));
  for (std::uint16_t n = 1; n <= requests; ++n) {
    ASSERT_EQ(slow.receive_message().size(), Header::size + 4 + flood_size) << n;
  }
}

TEST_F(AServer, WithdrawnWaitsForRunningCallsAndLetsNoneIn) {
  start();
  Raw_peer peer = client();
  peer.send(message(request(gate_id, 1)));
  ASSERT_TRUE(gate_.await_inside(1));
  auto withdrawn = std::async(std::launch::async, [this] { node_->withdraw(*service_); });
  Bytes answer;
  do {
    peer.send(echo(2));
    answer = peer.receive_message();
  } while (answer == echo_answer(2));
  EXPECT_EQ(answer, bytes_of("60010001 00000008 42420002 01018102"));
  EXPECT_EQ(withdrawn.wait_for(std::chrono::milliseconds(0)), std::future_status::timeout);
  gate_.open();
  withdrawn.get();
  EXPECT_EQ(read_header(peer.receive_message().data()).method, gate_id);
  EXPECT_THROW(client(), std::runtime_error) << "the port is closed";

  node_->offer(service_);
  peer.send(echo(3));
  EXPECT_EQ(peer.receive_message(), echo_answer(3)) << "the connection has stayed";
}

TEST_F(AServer, SaysWhichPortItCannotHave) {
  start();
  auto const echo_service = node_->deployment("test::Echo");
  auto const second = std::make_shared<Offered_service>(echo_service, echo_service->instances.at("one"));
  Settings same = testing_support::settings(1);
  ++same.discovery.port;
  auto const other_process = std::make_shared<Runtime>(same);
  for (auto const& [at, why] : {std::pair{node_, "an instance of it is offered there already"},
                                std::pair{other_process, "Address already in use"}}) {
    try {
      at->offer(second);
      ADD_FAILURE() << "offered twice";
    } catch (std::runtime_error const& error) {
      EXPECT_EQ(error.what(), "cannot offer test::Echo at " + same.address.to_string() + ":30600: " + why);
    }
  }
}

}  // namespace
}  // namespace linux_platform::com
