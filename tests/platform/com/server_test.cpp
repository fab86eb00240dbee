// SPDX-License-Identifier: Apache-2.0
// What a node answers to a client that says whatever a test wants: how a method can end, the limits, and methods that
// run beside each other. The ordered checks are walked through on the whole machine.
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

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
constexpr std::uint16_t output_id = 5;
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
    add(echo_id, [](Deserializer& in, Serializer& out) { out.write_bytes(in.read_bytes()); });
    add(gate_id, [this](Deserializer& /*in*/, Serializer& /*out*/) { gate_.pass(); });
    add(error_id, [](Deserializer& in, Serializer& out) {
      out.write_u32(0);
      std::uint8_t const number = in.read_u8();
      if (number == 0xFF) {
        throw std::out_of_range("not the deserializer's");
      }
      throw Numbered_error(number);
    });
    add(flood_id, [](Deserializer& /*in*/, Serializer& out) { out.write_bytes(Bytes(flood_size)); });
    service_->add_method(output_id, [this](Deserializer& /*in*/, Serializer& /*out*/) {
      return std::shared_ptr<void>(&gate_, [this](auto* /*gate*/) { gate_.pass(); });
    });
    node_->offer(service_);
  }
  void add(std::uint16_t id, std::function<void(Deserializer&, Serializer&)> const& method) {
    service_->add_method(id, [method](Deserializer& in, Serializer& out) {
      method(in, out);
      return nullptr;
    });
  }
  void TearDown() override { gate_.open(); }

  Raw_peer client() const { return {node_->settings().address.to_string(), service_->port()}; }

  static Bytes request(std::uint16_t method, std::uint16_t session, Bytes const& payload = {}) {
    return message({0x6001, method, 0x4242, session, someip_protocol_version, 1}, payload);
  }
  static Bytes echo(std::uint16_t session) { return request(echo_id, session, bytes_of("00000001 AB")); }
  static Bytes echo_answer(std::uint16_t session) {
    return testing_support::answer(echo(session), bytes_of("00000001 AB"));
  }
  static bool serves(Raw_peer& peer, std::uint16_t session) {
    peer.send(echo(session));
    return peer.receive_message() == echo_answer(session);
  }
  static int session_of_next(Raw_peer& peer) { return read_header(peer.receive_message().data()).session; }

  Gate gate_;
  std::shared_ptr<Runtime> node_;
  std::shared_ptr<Offered_service> service_;
};

TEST_F(AServer, AnswersWhateverBecomesOfACallAndServesOn) {
  start();
  Raw_peer peer = client();
  std::uint16_t session = 100;
  for (auto const& row : nlohmann::json::parse(std::ifstream(SERVER_ANSWERS))) {
    Bytes const answered = bytes_of(row.at("answered"));  // empty when it is discarded
    peer.send(bytes_of(row.at("sent")));
    EXPECT_TRUE(answered.empty() || peer.receive_message() == answered) << row;
    ASSERT_TRUE(serves(peer, ++session)) << row;
  }
  Bytes const large = request(echo_id, session, joined({bytes_of("00009C40"), Bytes(40'000, 0x5A)}));
  peer.send(large);
  EXPECT_EQ(peer.receive_message(), testing_support::answer(large, {large.begin() + Header::size, large.end()}));
}

TEST_F(AServer, ClosesAStreamThatCannotBeFollowed) {
  Limits limits;
  limits.message_bytes = 64;
  start(limits);
  for (std::string const hex : {"60010001 00000007", "60010001 00000039", "6001"}) {
    Raw_peer peer = client();
    EXPECT_TRUE(serves(peer, 1));
    peer.send(bytes_of(hex));
    if (hex == "6001") {
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
  one.send(joined({request(gate_id, 1), request(gate_id, 2)}));
  ASSERT_TRUE(gate_.await_inside(2)) << "two of one connection, read together";
  EXPECT_TRUE(serves(one, 3)) << "overtakes those inside";
  // All threads are inside a method: requests wait, discovery goes on.
  two.send(joined({request(gate_id, 4), echo(5)}));
  ASSERT_TRUE(gate_.await_inside(3));
  EXPECT_EQ(testing_support::node(2)->find(service_->deployment(), 1), std::vector<std::uint16_t>{1});
  EXPECT_FALSE(two.has_input());
  gate_.open();
  for (auto* peer : {&one, &two}) {
    int const first = session_of_next(*peer);
    EXPECT_EQ(first + session_of_next(*peer), peer == &one ? 1 + 2 : 4 + 5);
  }
}

TEST_F(AServer, KeepsNoAnswerWaitingForAMethodThatCameWithIt) {
  Limits limits;
  limits.worker_threads = 1;
  start(limits);
  Raw_peer peer = client();
  peer.send(joined({echo(1), request(gate_id, 2)}));
  EXPECT_EQ(peer.receive_message(), echo_answer(1));
  gate_.open();
  EXPECT_EQ(session_of_next(peer), 2);
}

TEST_F(AServer, KeepsNoAnswerWaitingForTheEndOfItsOutput) {
  start();
  Raw_peer peer = client();
  peer.send(request(output_id, 1));
  EXPECT_EQ(session_of_next(peer), 1);
  EXPECT_TRUE(gate_.await_inside(1));
}

TEST_F(AServer, KeepsNothingBackFromASlowReaderAndNothingFromOthers) {
  start();
  Raw_peer slow = client();
  std::set<int> sessions;
  for (std::uint16_t session = 1; session <= 200; ++session) {
    slow.send(request(flood_id, session));
    sessions.insert(session);
  }
  slow.end_sending();
  Raw_peer other = client();
  EXPECT_TRUE(serves(other, 1));
  while (!sessions.empty()) {
    Bytes const answer = slow.receive_message();
    ASSERT_EQ(answer.size(), Header::size + 4 + flood_size);
    EXPECT_EQ(sessions.erase(read_header(answer.data()).session), 1U);
  }
  EXPECT_TRUE(slow.at_end());
}

TEST_F(AServer, WithdrawnWaitsForRunningCallsAndLetsNoneIn) {
  start();
  Raw_peer peer = client();
  peer.send(request(gate_id, 1));
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
  EXPECT_TRUE(serves(peer, 3)) << "the connection has stayed";
}

TEST_F(AServer, SaysWhichPortItCannotHave) {
  start();
  Settings same = testing_support::settings(1);
  ++same.discovery.port;
  auto const other_process = std::make_shared<Runtime>(same);
  for (auto const& [at, why] : {std::pair{node_, "an instance of it is offered there already"},
                                std::pair{other_process, "Address already in use"}}) {
    auto const echo = at->deployment("test::Echo");
    auto const second = std::make_shared<Offered_service>(echo, echo->instances.at("one"));
    auto const text = "cannot offer test::Echo at " + same.address.to_string() + ":30600: " + why;
    EXPECT_THAT(([&node = at, &second] { node->offer(second); }), testing::ThrowsMessage<std::runtime_error>(text));
  }
}

}  // namespace
}  // namespace linux_platform::com
