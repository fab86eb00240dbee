// SPDX-License-Identifier: Apache-2.0
// Two nodes on loopback addresses of their own, in a group of their own.
#include "platform/src/com/discovery/discovery.h"

#include <string>
#include <unistd.h>

#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

namespace linux_platform::com {
namespace {

using boost::asio::ip::address_v4;
using boost::asio::ip::make_address_v4;
using namespace std::chrono_literals;

constexpr auto limit = 10s;
Service_key const statistics{0x6001, 1, 1, 0};

// Tests of several builds run side by side on one machine: the process id keeps their networks apart.
std::uint32_t apart() { return static_cast<std::uint32_t>(::getpid()); }
address_v4 address(std::uint32_t node) { return address_v4{0x7F000000U | (apart() & 0xFFFFU) << 8U | node}; }

Discovery_settings settings() {
  Discovery_settings made;
  made.group = address_v4{0xEFFF0000U | (apart() & 0xFFFFU)};
  made.port = static_cast<std::uint16_t>(20'000 + apart() % 10'000);
  return made;
}

struct Log final : Discovery_listener_if {
  void on_available(Service_key const& /*key*/, Endpoint const& endpoint) override {
    lines += "+" + std::to_string(endpoint.port) + " ";
  }
  void on_unavailable(Service_key const& /*key*/) override { lines += "- "; }
  void on_reboot(address_v4 const& /*address*/) override { lines += "reboot "; }
  void on_trouble(std::string const& what) override { lines += what; }
  std::string lines;
};

class Two_nodes : public ::testing::Test {
 protected:
  std::unique_ptr<Discovery> node(std::uint32_t number, Discovery_listener_if& listener) {
    return std::make_unique<Discovery>(io_.get_executor(), settings(), address(number), listener);
  }
  template <typename Condition>
  bool comes_true(Condition const& condition) {
    auto const end = std::chrono::steady_clock::now() + limit;
    while (!condition() && io_.run_one_until(end) != 0) {
    }
    return condition();
  }

  boost::asio::io_context io_;
  Log server_log_;
  Log client_log_;
  std::unique_ptr<Discovery> server_ = node(1, server_log_);
  std::unique_ptr<Discovery> client_ = node(2, client_log_);
};

TEST_F(Two_nodes, FindEachOtherUntilTheOfferIsWithdrawn) {
  std::vector<Found> found;
  client_->find(0x6001, any_instance, 1, 5s, [&](auto result) { found = std::move(result); });
  server_->offer(statistics, {address(1), 30501});
  ASSERT_TRUE(comes_true([&] { return !found.empty(); }));
  EXPECT_EQ(found[0].key, statistics);
  EXPECT_EQ(found[0].endpoint, (Endpoint{address(1), 30501}));
  EXPECT_EQ(client_->live(0x6001, 1, any_major), found[0].endpoint);

  server_->withdraw(statistics);
  ASSERT_TRUE(comes_true([&] { return client_log_.lines == "+30501 - "; })) << client_log_.lines;
  EXPECT_FALSE(client_->live(0x6001, 1, 1));
  EXPECT_EQ(server_log_.lines, "+30501 - ");
}

TEST_F(Two_nodes, AnswerALateSearchByUnicast) {
  server_->offer(statistics, {address(1), 30501});
  ASSERT_TRUE(comes_true([&] { return client_log_.lines == "+30501 "; }));
  Log late_log;
  auto const late = node(3, late_log);
  bool answered = false;
  late->find(0x6001, 1, 1, 5s, [&](auto found) { answered = !found.empty(); });
  ASSERT_TRUE(comes_true([&] { return answered; }));
  EXPECT_EQ(late_log.lines, "+30501 ");
}

TEST_F(Two_nodes, NoticeARestartAndAnEnd) {
  server_->offer(statistics, {address(1), 30501});
  ASSERT_TRUE(comes_true([&] { return client_log_.lines == "+30501 "; }));
  server_.reset();  // without a word
  server_ = node(1, server_log_);
  server_->offer(statistics, {address(1), 30502});
  ASSERT_TRUE(comes_true([&] { return client_log_.lines == "+30501 reboot - +30502 "; })) << client_log_.lines;
  server_->stop();
  ASSERT_TRUE(comes_true([&] { return client_log_.lines == "+30501 reboot - +30502 - "; })) << client_log_.lines;
  EXPECT_THROW(server_->offer(statistics, {address(1), 1}), Discovery_error);
}

TEST(ANodeAtRest, WakesOnceACycle) {
  constexpr auto cycle = 50ms;
  constexpr int handlers = 10;
  boost::asio::io_context io;
  Log log;
  auto quick = settings();
  quick.initial_delay_max = 0ms;
  quick.repetitions_max = 0;
  quick.cyclic_offer_delay = cycle;
  Discovery node{io.get_executor(), quick, address(1), log};
  node.offer(statistics, {address(1), 30501});
  node.offer({0x6010, 1, 1, 0}, {address(1), 30510});
  io.run_one();
  auto const start = std::chrono::steady_clock::now();
  for (int i = 0; i < handlers; ++i) {
    ASSERT_EQ(io.run_one_for(limit), 1U);
  }
  // Its own datagrams coming back, or a message for each service, would double the pace.
  EXPECT_GE(std::chrono::steady_clock::now() - start, cycle * (handlers - 1));
}

TEST(ANode, SaysWhichAddressItCannotUse) {
  boost::asio::io_context io;
  Log log;
  try {
    Discovery const node{io.get_executor(), settings(), make_address_v4("192.0.2.1"), log};
    FAIL() << "the address belongs to no interface";
  } catch (Discovery_error const& error) {
    EXPECT_NE(std::string{error.what()}.find("cannot send from 192.0.2.1:"), std::string::npos) << error.what();
  }
}

}  // namespace
}  // namespace linux_platform::com
