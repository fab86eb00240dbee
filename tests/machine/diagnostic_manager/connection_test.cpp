// SPDX-License-Identifier: Apache-2.0
// A tester's connection whose answers the network does not take: how full the network is, is hard to bring about there.
#include "machine/diagnostic_manager/connections/connection.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "machine/diagnostic_manager/uds/own_identifiers.h"

namespace machine::diagnostic_manager::connections {
namespace {

struct Recording_link final : Link_if {
  void send(Bytes message) override { sent.push_back(std::move(message)); }
  std::size_t room() const override { return free; }
  void close(std::string_view /*reason*/) override { sent.clear(); }

  std::size_t free = std::numeric_limits<std::size_t>::max();
  std::vector<Bytes> sent;
};

TEST(AConnection, TakesNoRequestWhoseLongestAnswerHasNoRoom) {
  Connection_config config;
  config.uds.max_response = 100;
  Timer_queue timers([] { return Timer_queue::Time(); });
  Socket_table sockets(1, std::chrono::milliseconds(500), timers);
  doip::Memory_budget memory(1000);
  uds::Identifier_table identifiers;
  identifiers[0xF190] = std::make_unique<uds::Constant_identifier>(Bytes{0xAB});
  Recording_link link;
  Connection connection(1, {config, timers, sockets, memory, identifiers}, link);
  connection.receive(Bytes{0x02, 0xFD, 0x00, 0x05, 0, 0, 0, 7, 0x0E, 0x81, 0, 0, 0, 0, 0});
  ASSERT_EQ(link.sent.size(), 1U) << "routing activation";

  Bytes const request{0x02, 0xFD, 0x80, 0x01, 0, 0, 0, 7, 0x0E, 0x81, 0x10, 0x01, 0x22, 0xF1, 0x90};
  Bytes const acknowledged{0x02, 0xFD, 0x80, 0x02, 0, 0, 0, 5, 0x10, 0x01, 0x0E, 0x81, 0x00};
  Bytes const answered{0x02, 0xFD, 0x80, 0x01, 0, 0, 0, 8, 0x10, 0x01, 0x0E, 0x81, 0x62, 0xF1, 0x90, 0xAB};
  Bytes const out_of_memory{0x02, 0xFD, 0x80, 0x03, 0, 0, 0, 5, 0x10, 0x01, 0x0E, 0x81, 0x05};
  std::size_t const longest = acknowledged.size() + 12 + 100;
  for (int round = 0; round < 2; ++round) {
    link.sent.clear();
    link.free = longest - 1;
    connection.receive(request);
    EXPECT_EQ(link.sent, std::vector<Bytes>{out_of_memory});
    link.sent.clear();
    link.free = longest;
    connection.receive(request);
    EXPECT_EQ(link.sent, (std::vector<Bytes>{acknowledged, answered}));
  }
}

}  // namespace
}  // namespace machine::diagnostic_manager::connections
