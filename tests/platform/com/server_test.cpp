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
#include "tests/platform/com/discovery/hex.h"
#include "tests/platform/com/gate.h"
#include "tests/platform/com/node.h"
#include "tests/platform/com/raw_peer.h"

namespace linux_platform::com {
namespace {

using tarn::com::cpp_binding::Deserializer;
using tarn::com::cpp_binding::Serializer;
using testing_support::Bytes;
using testing_support::Gate;
using testing_support::message;
using testing_support::Raw_peer;

constexpr std::uint16_t echo_id = 1;
constexpr std::uint16_t gate_id = 2;
constexpr std::uint16_t error_id = 3;
constexpr std::uint16_t flood_id = 4;
constexpr std::size_t flood_size = 50'000;

class Numbered_error final : public tarn::com::cpp_binding::Application_error_exception {
 public:
  explicit Numbered_error(std::uint8_t number) : number_(number) {}
  char const* what() const noexcept override { return "Numbered_error"; }
  std::uint8_t error_code() const noexcept override { return number_; }
  void serialize(std::vector<std::uint8_t>& out) const override { out.push_back(0xEE); }

 private:
  std::uint8_t number_;
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
    Header header;
    header.service = 0x6001;
    header.method = method;
    header.client = 0x4242;
    header.session = session;
    header.interface_version = 1;
    return header;
  }
  static Bytes echo(std::uint16_t session) { return message(request(echo_id, session), bytes_of("00 00 00 01 AB")); }
  static Bytes echo_answer(std::uint16_t session) {
    Header header = request(echo_id, session);
    header.type = Message_type::response;
    return message(header, bytes_of("00 00 00 01 AB"));
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
  std::vector<Exchange> const table{
      {"unknown service", "60 09 00 01 00 00 00 08 00 42 00 01 01 01 00 00",
       "60 09 00 01 00 00 00 08 00 42 00 01 01 01 81 02"},
      {"interface version", "60 01 00 01 00 00 00 08 00 42 00 01 01 02 00 00",
       "60 01 00 01 00 00 00 08 00 42 00 01 01 02 81 08"},
      {"protocol version", "60 01 00 01 00 00 00 08 00 42 00 01 02 01 00 00",
       "60 01 00 01 00 00 00 08 00 42 00 01 01 01 81 07"},
      {"unknown method", "60 01 77 77 00 00 00 08 00 42 00 02 01 01 00 00",
       "60 01 77 77 00 00 00 08 00 42 00 02 01 01 81 03"},
      {"malformed", "60 01 00 01 00 00 00 0A 00 42 00 02 01 01 00 00 00 00",
       "60 01 00 01 00 00 00 08 00 42 00 02 01 01 81 09"},
      {"session 0 is none of ours", "60 01 00 01 00 00 00 0C 00 00 00 00 01 01 00 00 00 00 00 00",
       "60 01 00 01 00 00 00 0C 00 00 00 00 01 01 80 00 00 00 00 00"},
      {"request with a return code", "60 01 00 01 00 00 00 0C 00 42 00 03 01 01 00 01 00 00 00 00",
       "60 01 00 01 00 00 00 0C 00 42 00 03 01 01 80 00 00 00 00 00"},
      {"appended bytes", "60 01 00 01 00 00 00 0E 00 42 00 03 01 01 00 00 00 00 00 00 77 77",
       "60 01 00 01 00 00 00 0C 00 42 00 03 01 01 80 00 00 00 00 00"},
      {"application error", "60 01 00 03 00 00 00 09 00 42 00 04 01 01 00 00 02",
       "60 01 00 03 00 00 00 09 00 42 00 04 01 01 81 21 EE"},
      {"greatest application error", "60 01 00 03 00 00 00 09 00 42 00 04 01 01 00 00 3F",
       "60 01 00 03 00 00 00 09 00 42 00 04 01 01 81 5E EE"},
      {"impossible application error", "60 01 00 03 00 00 00 09 00 42 00 04 01 01 00 00 40",
       "60 01 00 03 00 00 00 08 00 42 00 04 01 01 81 01"},
      {"any other exception", "60 01 00 03 00 00 00 09 00 42 00 04 01 01 00 00 FF",
       "60 01 00 03 00 00 00 08 00 42 00 04 01 01 81 01"},
      {"fire and forget of unknown service", "60 09 00 01 00 00 00 08 00 42 00 01 01 01 01 00", ""},
      {"fire and forget of a method with an answer", "60 01 00 01 00 00 00 0C 00 42 00 01 01 01 01 00 00 00 00 00", ""},
      {"notification", "60 01 80 01 00 00 00 08 00 00 00 01 01 01 02 00", ""},
      {"response to nothing", "60 01 00 01 00 00 00 08 00 42 00 01 01 01 80 00", ""},
      {"impossible type", "60 01 00 01 00 00 00 08 00 42 00 01 01 01 55 00", ""},
      {"segment", "60 01 00 01 00 00 00 08 00 42 00 01 01 01 20 00", ""},
      {"error for an error", "60 01 77 77 00 00 00 08 00 42 00 01 01 01 00 05", ""},
      {"magic cookie", "FF FF 00 00 00 00 00 08 DE AD BE EF 01 01 01 00", ""},
  };
  std::uint16_t session = 100;
  for (Exchange const& row : table) {
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
  for (std::uint16_t session = 2; session < 300; ++session) {
    Bytes const one = echo(session);
    several.insert(several.end(), one.begin(), one.end());
  }
  peer.send(several);
  peer.end_sending();
  std::vector<bool> answered(300);
  for (std::uint16_t n = 2; n < 300; ++n) {
    Bytes const answer = peer.receive_message();
    ASSERT_EQ(answer.size(), echo_answer(0).size()) << n;
    std::uint16_t const session = read_header(answer.data()).session;
    EXPECT_EQ(answer, echo_answer(session));
    EXPECT_FALSE(answered.at(session)) << session;
    answered.at(session) = true;
  }
  EXPECT_TRUE(peer.at_end());
}

TEST_F(AServer, ClosesAStreamThatCannotBeFollowed) {
  Limits limits;
  limits.message_bytes = 64;
  start(limits);
  for (char const* hex :
       {"60 01 00 01 00 00 00 00", "60 01 00 01 00 00 00 07", "60 01 00 01 00 00 00 39", "60 01 00 01 7F FF FF FF"}) {
    Raw_peer peer = client();
    peer.send(echo(1));
    EXPECT_EQ(peer.receive_message(), echo_answer(1));
    peer.send(bytes_of(hex));
    EXPECT_TRUE(peer.at_end()) << hex;
  }
  Raw_peer cut = client();
  cut.send(bytes_of("60 01 00 01 00 00 00 38"));
  cut.end_sending();
  EXPECT_TRUE(cut.at_end());
}

TEST_F(AServer, RunsMethodsBesideEachOtherUpToItsThreadsAndAnswersAll) {
  Limits limits;
  limits.worker_threads = 3;
  start(limits);
  Raw_peer one = client();
  Raw_peer two = client();
  Bytes pair = message(request(gate_id, 1));
  Bytes const second = message(request(gate_id, 2));
  pair.insert(pair.end(), second.begin(), second.end());
  one.send(pair);
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
  Bytes both = echo(1);
  Bytes const slow = message(request(gate_id, 2));
  both.insert(both.end(), slow.begin(), slow.end());
  peer.send(both);
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
  EXPECT_EQ(answer, bytes_of("60 01 00 01 00 00 00 08 42 42 00 02 01 01 81 02"));
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
  std::string const where = node_->settings().address.to_string() + ":30600: ";
  try {
    node_->offer(second);
    ADD_FAILURE() << "offered twice";
  } catch (std::runtime_error const& error) {
    EXPECT_EQ(error.what(), "cannot offer test::Echo at " + where + "an instance of it is offered there already");
  }
  Settings same = testing_support::settings(1);
  same.discovery.port = static_cast<std::uint16_t>(same.discovery.port + 1);
  Runtime other_process(same);
  try {
    other_process.offer(second);
    ADD_FAILURE() << "offered by two processes";
  } catch (std::runtime_error const& error) {
    EXPECT_EQ(error.what(), "cannot offer test::Echo at " + where + "Address already in use");
  }
}

}  // namespace
}  // namespace linux_platform::com
