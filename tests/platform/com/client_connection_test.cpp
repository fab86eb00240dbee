// SPDX-License-Identifier: Apache-2.0
// The client's side of a connection against a server that says whatever a test wants: results, errors, lies, silence,
// and its end at every awkward moment.
#include "platform/src/com/connection/client_connection.h"

#include <chrono>
#include <fstream>
#include <future>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "tarn/com/exceptions.h"
#include "tests/platform/com/hex.h"
#include "tests/platform/com/raw_peer.h"

namespace linux_platform::com {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing_support::answer;
using testing_support::Bytes;
using testing_support::Raw_listener;
using testing_support::Raw_peer;
using Number = ara::com::Future<std::uint32_t>;

/// A method whose result is one number, and which declares application error 2 only.
struct Number_reply final : tarn::com::cpp_binding::Reply_if {
  void result(tarn::com::cpp_binding::Deserializer& payload) override { promise.set_value(payload.read_u32()); }
  bool error(std::uint8_t code, Bytes const& /*payload*/) override {
    if (code == 2) {
      promise.set_exception(std::make_exception_ptr(int{code}));
    }
    return code == 2;
  }
  void failure(std::exception_ptr error) override { promise.set_exception(std::move(error)); }
  ara::com::Promise<std::uint32_t> promise;
};

/// How a call ended: its number, or the exception's kind, code and text.
std::string end_of(Number future) {
  try {
    return std::to_string(future.get());
  } catch (int declared) {
    return "declared " + std::to_string(declared);
  } catch (tarn::com::Transport_exception const& error) {
    return "transport " + std::to_string(error.error_code()) + " " + error.what();
  } catch (tarn::com::Service_not_available_exception const& error) {
    return std::string("unavailable ") + error.what();
  }
}

Bytes with_number(Bytes const& request, std::uint8_t number) { return answer(request, {0, 0, 0, number}); }

class AClientConnection : public testing::Test {
 protected:
  AClientConnection() {
    limits_.message_bytes = 1000;
    limits_.outstanding_requests = 4;
    service_.interface = "test::Numbers";
    service_.id = 0x6001;
    service_.major = 1;
    service_.methods = {{"get_number", 5}};
    auto const here = boost::asio::ip::address_v4::loopback();
    connection_ = std::make_unique<Client_connection>(here, Endpoint{here, listener_->port()}, limits_);
  }
  Number call(std::chrono::milliseconds response_time = 60s) {
    auto reply = std::make_unique<Number_reply>();
    auto future = reply->promise.get_future();
    future.set_driver(connection_->call({std::make_shared<Service_deployment const>(service_), 5, response_time,
                                         std::chrono::steady_clock::now() + response_time, std::move(reply)},
                                        Bytes(Header::size)));
    return future;
  }

  Limits limits_;
  Service_deployment service_;
  std::optional<Raw_listener> listener_{std::in_place};
  std::unique_ptr<Client_connection> connection_;
};

TEST_F(AClientConnection, TakesEveryEndThatAnAnswerCanHave) {
  for (auto const& row : nlohmann::json::parse(std::ifstream(CLIENT_ANSWERS))) {
    auto future = call();
    Raw_peer server = listener_->accept();
    Bytes bytes = answer(server.receive_message(), bytes_of(row.value("payload", "")));
    Bytes const lie = bytes_of(row.value("length", ""));
    Bytes const type_and_code = bytes_of(row.at("type_and_code"));
    std::copy(lie.begin(), lie.end(), bytes.begin() + 4);
    std::copy(type_and_code.begin(), type_and_code.end(), bytes.begin() + 14);
    server.send(bytes);
    server.end_sending();
    EXPECT_THAT(end_of(std::move(future)), MatchesRegex(row.value("end", ""))) << row;
    connection_->drop("next row");
  }
}

TEST_F(AClientConnection, ConnectsAnewToAPeerThatClosesAfterAnAnswer) {
  for (std::uint8_t number = 1; number < 4; ++number) {
    auto future = call();
    Raw_peer server = listener_->accept();
    server.send(with_number(server.receive_message(), number));
    server.end_sending();
    server.await_arrival_of_end();
    EXPECT_EQ(end_of(std::move(future)), std::to_string(number));
  }
}

TEST_F(AClientConnection, EndsACallAtItsLimitAndDropsWhatIsNotItsAnswer) {
  auto future = call(60ms);
  Raw_peer server = listener_->accept();
  Bytes const request = server.receive_message();
  // service, method, client, session, versions of protocol and interface, type
  for (std::size_t const position : {1U, 3U, 9U, 11U, 12U, 13U, 14U}) {
    Bytes bytes = with_number(request, 99);
    bytes[position] ^= 0x02U;
    server.send(bytes);
  }
  EXPECT_THAT(end_of(std::move(future)), HasSubstr("method get_number of test::Numbers: no answer within 60 ms"));
  auto next = call();
  server.send(with_number(request, 1));  // late
  server.send(with_number(server.receive_message(), 2));
  EXPECT_EQ(next.get(), 2U) << "on the same connection";
}

TEST_F(AClientConnection, FailsAllOutstandingRequestsWithTheConnection) {
  EXPECT_FALSE(connection_->connected());
  std::vector<Number> futures;
  for (int i = 0; i < 4; ++i) {
    futures.push_back(call());
  }
  EXPECT_TRUE(connection_->connected());
  EXPECT_THAT(end_of(call()), HasSubstr("4 requests are waiting"));
  connection_->drop("it had started anew before", std::chrono::steady_clock::time_point{});
  connection_->drop("the peer has started anew");
  EXPECT_FALSE(connection_->connected());
  for (auto& future : futures) {
    EXPECT_THAT(end_of(std::move(future)), MatchesRegex("transport .*the peer has started anew"));
  }
  auto const port = std::to_string(listener_->port());
  listener_.reset();
  EXPECT_THAT(end_of(call()), MatchesRegex("unavailable .*cannot connect to 127.0.0.1:" + port + ".*"));
  connection_->close("end");
  EXPECT_THAT(end_of(call()), MatchesRegex("unavailable .*has ended.*"));
}

TEST_F(AClientConnection, MakesRoomWhereAbandonedRequestsHaveExpired) {
  auto first = call();
  Raw_peer server = listener_->accept();
  for (int i = 0; i < 3; ++i) {
    call(1ms);
  }
  auto future = call();
  while (future.is_ready()) {
    future = call();
  }
  for (std::uint8_t number = 1; number <= 5; ++number) {
    server.send(with_number(server.receive_message(), number));
  }
  EXPECT_EQ(first.get(), 1U);
  EXPECT_EQ(future.get(), 5U);
}

TEST_F(AClientConnection, NumbersItsRequestsWithWhatIsNeitherZeroNorOutstanding) {
  auto outstanding = call();
  Raw_peer server = listener_->accept();
  Bytes const first = server.receive_message();
  Bytes const client(first.begin() + 8, first.begin() + 10);
  EXPECT_EQ(first, testing_support::joined({bytes_of("60010005 00000008"), client, bytes_of("0001 01010000")}));
  for (unsigned i = 2; i < 65'540; ++i) {
    auto future = call();
    Bytes request = server.receive_message();
    ASSERT_EQ(read_header(request.data()).session, i <= 0xFFFF ? i : i - 0xFFFF + 1);
    server.send(with_number(request, 1));
    ASSERT_EQ(future.get(), 1U);
    std::copy_n(first.begin() + 10, 2, request.begin() + 10);
    ASSERT_EQ(request, first) << "but for the session";
  }
  server.send(with_number(first, 2));
  EXPECT_EQ(outstanding.get(), 2U);
}

TEST_F(AClientConnection, ServesManyWaitingThreadsWhateverTheOrderOfTheAnswers) {
  constexpr int threads = 4;
  constexpr int calls = 200;
  std::vector<std::future<void>> callers;
  for (int i = 0; i < threads; ++i) {
    callers.push_back(std::async(std::launch::async, [&] {
      for (int n = 0; n < calls; ++n) {
        EXPECT_EQ(call().get(), 1U);
      }
    }));
  }
  Raw_peer server = listener_->accept();
  std::vector<Bytes> waiting;
  for (int answered = 0; answered < threads * calls;) {
    if (waiting.empty() || server.has_input()) {
      waiting.push_back(server.receive_message());
      continue;
    }
    for (; !waiting.empty(); waiting.pop_back(), ++answered) {
      server.send(with_number(waiting.back(), 1));
    }
  }
  for (auto& caller : callers) {
    caller.get();
  }
}

}  // namespace
}  // namespace linux_platform::com
