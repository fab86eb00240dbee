// SPDX-License-Identifier: Apache-2.0
// The client's side of a connection against a server that says whatever a test wants: results, errors, lies, silence,
// and its end at every awkward moment.
#include "platform/src/com/connection/client_connection.h"

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tarn/com/exceptions.h"
#include "tests/platform/com/raw_peer.h"

namespace linux_platform::com {
namespace {

using namespace std::chrono_literals;
using tarn::com::Service_not_available_exception;
using tarn::com::Transport_exception;
using tarn::com::cpp_binding::Deserializer;
using testing_support::Bytes;
using testing_support::message;
using testing_support::Raw_listener;
using testing_support::Raw_peer;

struct Declared_error {
  std::uint8_t number;
};

/// A method whose result is one number, and which declares application error 2 only.
class Number_reply final : public tarn::com::cpp_binding::Reply_if {
 public:
  void result(Deserializer& payload) override { promise.set_value(payload.read_u32()); }
  bool error(std::uint8_t code, Bytes const& /*payload*/) override {
    if (code == 2) {
      promise.set_exception(std::make_exception_ptr(Declared_error{code}));
    }
    return code == 2;
  }
  void failure(std::exception_ptr error) override { promise.set_exception(std::move(error)); }

  ara::com::Promise<std::uint32_t> promise;
};

class AClientConnection : public testing::Test {
 protected:
  static Limits limits() {
    Limits limits;
    limits.message_bytes = 1000;
    limits.outstanding_requests = 4;
    return limits;
  }

  ara::com::Future<std::uint32_t> call(std::chrono::milliseconds response_time = 10s) {
    auto reply = std::make_unique<Number_reply>();
    auto future = reply->promise.get_future();
    Client_request request{service_, 5, response_time, std::chrono::steady_clock::now() + response_time,
                           std::move(reply)};
    future.set_driver(connection_.call(std::move(request), Bytes(Header::size)));
    return future;
  }

  static Bytes answer(Bytes const& request, std::uint32_t number) {
    Header header = read_header(request.data());
    header.type = Message_type::response;
    auto const byte = [&](unsigned shift) { return static_cast<std::uint8_t>((number >> shift) & 0xFFU); };
    return message(header, {byte(24), byte(16), byte(8), byte(0)});
  }

  static std::shared_ptr<Service_deployment const> make_service() {
    Service_deployment service;
    service.interface = "test::Numbers";
    service.id = 0x6001;
    service.major = 1;
    service.methods = {{"get_number", 5}};
    return std::make_shared<Service_deployment const>(service);
  }

  std::shared_ptr<Service_deployment const> const service_ = make_service();
  Raw_listener listener_{"127.0.0.1"};
  Client_connection connection_{
      boost::asio::ip::address_v4::loopback(), {boost::asio::ip::address_v4::loopback(), listener_.port()}, limits()};
};

template <typename Exception>
Exception failure_of(ara::com::Future<std::uint32_t> future) {
  try {
    ADD_FAILURE() << "the call returned " << future.get();
  } catch (Exception const& error) {
    return error;
  }
  throw std::logic_error("not reached");
}

bool contains(std::string const& text, std::string const& part) { return text.find(part) != std::string::npos; }

TEST_F(AClientConnection, SendsRequestsThatTheServerCanTellApart) {
  auto first = call();
  auto second = call();
  Raw_peer server = listener_.accept();
  Bytes const one = server.receive_message();
  Bytes const two = server.receive_message();
  Header const header = read_header(one.data());
  EXPECT_EQ(header.service, 0x6001);
  EXPECT_EQ(header.method, 5);
  EXPECT_EQ(header.interface_version, 1);
  EXPECT_EQ(header.type, Message_type::request);
  EXPECT_EQ(header.code, Return_code::ok);
  EXPECT_EQ(header.session, 1);
  EXPECT_EQ(read_header(two.data()).session, 2);

  EXPECT_FALSE(first.is_ready());
  server.send(answer(two, 22));
  server.send(answer(one, 11));
  EXPECT_EQ(first.get(), 11U);
  EXPECT_TRUE(second.is_ready());
  EXPECT_EQ(second.get(), 22U);
}

struct Bad_answer {
  char const* what;
  std::function<void(Raw_peer&, Bytes const& request)> act;
  std::uint8_t code;
  char const* text;
};

TEST_F(AClientConnection, TurnsEveryBrokenAnswerIntoATransportException) {
  auto const reply_with = [](Message_type type, unsigned code, Bytes const& payload) {
    return [=](Raw_peer& server, Bytes const& request) {
      Header header = read_header(request.data());
      header.type = type;
      header.code = Return_code{static_cast<std::uint8_t>(code)};
      server.send(message(header, payload));
    };
  };
  auto const send_hex_length = [](std::uint32_t length) {
    return [=](Raw_peer& server, Bytes const& request) {
      Bytes bytes(Header::size);
      write_header(bytes.data(), read_header(request.data()), length - 8);
      server.send(bytes);
    };
  };
  std::vector<Bad_answer> const table{
      {"unknown method", reply_with(Message_type::error, 0x03, {}), 0x03, "return code 3"},
      {"error in a response", reply_with(Message_type::response, 0x09, {}), 0x09, "return code 9"},
      {"error without a code", reply_with(Message_type::error, 0, {}), 0x01, "return code 1"},
      {"undeclared error", reply_with(Message_type::error, 0x25, {}), 0x01, "application error 6"},
      {"too short", reply_with(Message_type::response, 0, {1, 2, 3}), 0x09, "Read beyond the end of the data buffer"},
      {"length below 8", send_hex_length(7), 0x01, "length is below 8 or beyond the limit of 1000 bytes"},
      {"length beyond the limit", send_hex_length(993), 0x01, "beyond the limit"},
      {"nothing but the end", [](Raw_peer& server, Bytes const&) { server.end_sending(); }, 0x01, "was closed"},
      {"end in the middle",
       [](Raw_peer& server, Bytes const& request) {
         Bytes bytes = answer(request, 1);
         bytes.resize(18);
         server.send(bytes);
         server.end_sending();
       },
       0x01, "closed in the middle of an answer"},
  };
  for (Bad_answer const& row : table) {
    auto future = call();
    Raw_peer server = listener_.accept();
    row.act(server, server.receive_message());
    auto const error = failure_of<Transport_exception>(std::move(future));
    EXPECT_EQ(error.error_code(), row.code) << row.what;
    EXPECT_TRUE(contains(error.what(), row.text)) << row.what << ": " << error.what();
    EXPECT_TRUE(contains(error.what(), "method get_number of test::Numbers")) << error.what();
    connection_.drop("next row");
  }
}

TEST_F(AClientConnection, TakesApplicationErrorsInBothFormsAndGoesOn) {
  auto warm = call();
  Raw_peer server = listener_.accept();
  server.send(answer(server.receive_message(), 0));
  warm.get();
  for (Message_type const type : {Message_type::error, Message_type::response}) {
    auto future = call();
    Header header = read_header(server.receive_message().data());
    header.type = type;
    header.code = Return_code{0x21};
    server.send(message(header, {0, 0, 0, 1, 0x11}));
    EXPECT_EQ(failure_of<Declared_error>(std::move(future)).number, 2);
  }
  auto future = call();
  server.send(answer(server.receive_message(), 7));
  EXPECT_EQ(future.get(), 7U);
}

TEST_F(AClientConnection, EndsACallAtItsLimitAndDropsWhatIsNotItsAnswer) {
  auto future = call(60ms);
  Raw_peer server = listener_.accept();
  Bytes const request = server.receive_message();
  for (int const strange : {0, 1, 2, 3, 4, 5}) {
    Bytes bytes = answer(request, 99);
    constexpr std::array<std::size_t, 6> position{1,  3,  9,
                                                  11, 12, 14};  // service, method, client, session, version, type
    bytes[position.at(static_cast<std::size_t>(strange))] ^= 0x02U;
    server.send(bytes);
  }
  auto const error = failure_of<Transport_exception>(std::move(future));
  EXPECT_TRUE(contains(error.what(), "method get_number of test::Numbers: no answer within 60 ms")) << error.what();

  auto next = call();
  server.send(answer(request, 1));  // late
  server.send(answer(server.receive_message(), 2));
  EXPECT_EQ(next.get(), 2U);
}

TEST_F(AClientConnection, ConnectsAgainAfterALoss) {
  for (std::uint32_t round = 0; round < 3; ++round) {
    auto future = call();
    Raw_peer server = listener_.accept();
    server.send(answer(server.receive_message(), round));
    EXPECT_EQ(future.get(), round);
  }
}

TEST_F(AClientConnection, FailsAllOutstandingRequestsWithTheConnection) {
  std::vector<ara::com::Future<std::uint32_t>> futures;
  for (int i = 0; i < 4; ++i) {
    futures.push_back(call());
  }
  EXPECT_TRUE(contains(failure_of<Transport_exception>(call()).what(), "4 requests are waiting"));
  connection_.drop("the peer has started anew");
  for (auto& future : futures) {
    EXPECT_TRUE(contains(failure_of<Transport_exception>(std::move(future)).what(), "the peer has started anew"));
  }
  connection_.close("end");
  EXPECT_TRUE(contains(failure_of<Service_not_available_exception>(call()).what(), "has ended"));
}

TEST_F(AClientConnection, MakesRoomWhereAbandonedRequestsHaveExpired) {
  for (int i = 0; i < 4; ++i) {
    call(1ms);
  }
  std::optional<ara::com::Future<std::uint32_t>> future;
  do {
    future = call();
  } while (future->is_ready());
  Raw_peer server = listener_.accept();
  for (int i = 0; i < 4; ++i) {
    server.receive_message();
  }
  server.send(answer(server.receive_message(), 3));
  EXPECT_EQ(future->get(), 3U);
}

TEST(AClientConnectionToNobody, SaysWhereItTried) {
  std::uint16_t port = 0;
  { port = Raw_listener("127.0.0.1").port(); }
  Client_connection connection(boost::asio::ip::address_v4::loopback(), {boost::asio::ip::address_v4::loopback(), port},
                               {});
  auto reply = std::make_unique<Number_reply>();
  auto future = reply->promise.get_future();
  auto const service = std::make_shared<Service_deployment const>();
  connection.call({service, 1, 1s, std::chrono::steady_clock::now() + 1s, std::move(reply)}, Bytes(Header::size));
  auto const text = std::string(failure_of<Service_not_available_exception>(std::move(future)).what());
  EXPECT_TRUE(contains(text, "cannot connect to 127.0.0.1:" + std::to_string(port))) << text;
}

TEST_F(AClientConnection, NeverUsesASessionThatIsZeroOrOutstanding) {
  auto outstanding = call(60s);
  Raw_peer server = listener_.accept();
  Bytes const first = server.receive_message();
  constexpr std::uint32_t more_than_there_are = 65'540;
  for (std::uint32_t i = 1; i < more_than_there_are; ++i) {
    auto future = call(60s);
    Bytes const request = server.receive_message();
    std::uint16_t const session = read_header(request.data()).session;
    ASSERT_NE(session, 0U);
    ASSERT_NE(session, read_header(first.data()).session);
    server.send(answer(request, i));
    ASSERT_EQ(future.get(), i);
  }
  server.send(answer(first, 0));
  EXPECT_EQ(outstanding.get(), 0U);
}

TEST_F(AClientConnection, ServesManyWaitingThreadsWhateverTheOrderOfTheAnswers) {
  constexpr int threads = 4;
  constexpr int calls = 200;
  std::atomic<int> good{0};
  std::vector<std::thread> callers;
  for (int i = 0; i < threads; ++i) {
    callers.emplace_back([&] {
      for (int n = 0; n < calls; ++n) {
        auto future = call(30s);
        // The answer is the session, which no other call has at the same time.
        good += future.get() != 0 ? 1 : 0;
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
      server.send(answer(waiting.back(), read_header(waiting.back().data()).session));
    }
  }
  for (std::thread& caller : callers) {
    caller.join();
  }
  EXPECT_EQ(good, threads * calls);
}

}  // namespace
}  // namespace linux_platform::com
