// SPDX-License-Identifier: Apache-2.0
// The client's side of a connection against a server that says whatever a test wants: results, errors, lies, silence,
// and its end at every awkward moment.
#include "platform/src/com/connection/client_connection.h"

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "tarn/com/exceptions.h"
#include "tests/platform/com/hex.h"
#include "tests/platform/com/raw_peer.h"

namespace linux_platform::com {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
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

/// How a call ended: its number, the number of its declared error, or the exception's kind, code and text.
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
    connection_ = to(listener_.port());
  }
  std::unique_ptr<Client_connection> to(std::uint16_t port) const {
    auto const here = boost::asio::ip::address_v4::loopback();
    return std::make_unique<Client_connection>(here, Endpoint{here, port}, limits_);
  }
  Number call(std::chrono::milliseconds response_time = 10s) {
    auto reply = std::make_unique<Number_reply>();
    auto future = reply->promise.get_future();
    future.set_driver(connection_->call({std::make_shared<Service_deployment const>(service_), 5, response_time,
                                         std::chrono::steady_clock::now() + response_time, std::move(reply)},
                                        Bytes(Header::size)));
    return future;
  }

  Limits limits_;
  Service_deployment service_;
  Raw_listener listener_{"127.0.0.1"};
  std::unique_ptr<Client_connection> connection_;
};

TEST_F(AClientConnection, SendsRequestsThatTheServerCanTellApart) {
  auto first = call();
  auto second = call();
  Raw_peer server = listener_.accept();
  Bytes const one = server.receive_message();
  Bytes const two = server.receive_message();
  Bytes const client(one.begin() + 8, one.begin() + 10);
  auto const expected = [&](char const* session) {
    return testing_support::joined({bytes_of("60010005 00000008"), client, bytes_of(session), bytes_of("01010000")});
  };
  EXPECT_EQ(one, expected("0001"));
  EXPECT_EQ(two, expected("0002"));
  EXPECT_FALSE(first.is_ready());
  server.send(with_number(two, 22));
  server.send(with_number(one, 11));
  EXPECT_EQ(first.get(), 11U);
  EXPECT_TRUE(second.is_ready());
  EXPECT_EQ(second.get(), 22U);
}

TEST_F(AClientConnection, TakesEveryEndThatAnAnswerCanHave) {
  struct Row {
    char const* type_and_code;
    char const* payload;
    char const* length;  ///< when it lies
    char const* end;
    char const* text = "transport 1 method get_number of test::Numbers";
  };
  for (Row const& row : {
           Row{"8121", "1122", "", "declared 2", ""},
           {"8021", "", "", "declared 2", ""},
           {"8000", "0000000777", "", "7", ""},
           {"8103", "", "", "return code 3", "transport 3"},
           {"8009", "", "", "return code 9", "transport 9"},
           {"811F", "", "", "return code 31", "transport 31"},
           {"815F", "", "", "return code 95", "transport 95"},
           {"8100", "", "", "return code 1"},
           {"8125", "", "", "application error 6"},
           {"815E", "", "", "application error 63"},
           {"8000", "010203", "", "Read beyond the end of the data buffer", "transport 9"},
           {"8000", "", "00000007", "length is below 8 or beyond the limit of 1000 bytes"},
           {"8000", "", "000003E1", "beyond the limit"},
           {"8000", "0102", "000003E0", "closed in the middle of an answer"},
       }) {
    auto future = call();
    Raw_peer server = listener_.accept();
    Bytes bytes = answer(server.receive_message(), bytes_of(row.payload));
    Bytes const length = bytes_of(row.length);
    Bytes const code = bytes_of(row.type_and_code);
    std::copy(length.begin(), length.end(), bytes.begin() + 4);
    std::copy(code.begin(), code.end(), bytes.begin() + 14);
    server.send(bytes);
    server.end_sending();
    EXPECT_THAT(end_of(std::move(future)), AllOf(HasSubstr(row.text), HasSubstr(row.end))) << row.type_and_code;
    connection_->drop("next row");
  }
  auto future = call();
  listener_.accept().receive_message();
  EXPECT_THAT(end_of(std::move(future)), HasSubstr("was closed"));
}

TEST_F(AClientConnection, EndsACallAtItsLimitAndDropsWhatIsNotItsAnswer) {
  auto future = call(60ms);
  Raw_peer server = listener_.accept();
  Bytes const request = server.receive_message();
  // service, method, client, session, version, type
  for (std::size_t const position : {1U, 3U, 9U, 11U, 12U, 14U}) {
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
  std::vector<Number> futures;
  for (int i = 0; i < 4; ++i) {
    futures.push_back(call());
  }
  EXPECT_THAT(end_of(call()), HasSubstr("4 requests are waiting"));
  connection_->drop("the peer has started anew");
  for (auto& future : futures) {
    EXPECT_THAT(end_of(std::move(future)), AllOf(HasSubstr("transport"), HasSubstr("the peer has started anew")));
  }
  connection_->close("end");
  EXPECT_THAT(end_of(call()), AllOf(HasSubstr("unavailable"), HasSubstr("has ended")));
}

TEST_F(AClientConnection, MakesRoomWhereAbandonedRequestsHaveExpired) {
  for (int i = 0; i < 4; ++i) {
    call(1ms);
  }
  auto future = call();
  while (future.is_ready()) {
    future = call();
  }
  Raw_peer server = listener_.accept();
  for (int i = 0; i < 4; ++i) {
    server.receive_message();
  }
  server.send(with_number(server.receive_message(), 3));
  EXPECT_EQ(future.get(), 3U);
}

TEST_F(AClientConnection, SaysWhereItTriedInVain) {
  std::uint16_t const port = Raw_listener("127.0.0.1").port();
  connection_ = to(port);
  EXPECT_THAT(end_of(call()),
              AllOf(HasSubstr("unavailable"), HasSubstr("cannot connect to 127.0.0.1:" + std::to_string(port))));
}

TEST_F(AClientConnection, NeverUsesASessionThatIsZeroOrOutstanding) {
  auto outstanding = call(60s);
  Raw_peer server = listener_.accept();
  Bytes const first = server.receive_message();
  for (std::uint32_t i = 1; i < 65'540; ++i) {
    auto future = call(60s);
    Bytes const request = server.receive_message();
    ASSERT_NE(read_header(request.data()).session, 0U);
    ASSERT_NE(request, first);
    server.send(with_number(request, 1));
    ASSERT_EQ(future.get(), 1U);
  }
  server.send(with_number(first, 2));
  EXPECT_EQ(outstanding.get(), 2U);
}

TEST_F(AClientConnection, ServesManyWaitingThreadsWhateverTheOrderOfTheAnswers) {
  constexpr int threads = 4;
  constexpr int calls = 200;
  std::atomic<int> good{0};
  std::vector<std::thread> callers;
  for (int i = 0; i < threads; ++i) {
    callers.emplace_back([&] {
      for (int n = 0; n < calls; ++n) {
        good += call(30s).get() == 1 ? 1 : 0;
      }
    });
  }
  Raw_peer server = listener_.accept();
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
  for (std::thread& caller : callers) {
    caller.join();
  }
  EXPECT_EQ(good, threads * calls);
}

}  // namespace
}  // namespace linux_platform::com
