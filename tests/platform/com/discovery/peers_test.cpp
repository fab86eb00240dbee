// SPDX-License-Identifier: Apache-2.0
// What a node keeps of its peers, and where it believes that they can be reached.
#include "platform/src/com/discovery/peers.h"

#include <tuple>

#include <gtest/gtest.h>

#include "platform/src/com/discovery/endpoint_filter.h"

namespace linux_platform::com::discovery {
namespace {

using boost::asio::ip::address_v4;
using boost::asio::ip::make_address_v4;

auto const peer = make_address_v4("192.0.2.10");

TEST(Peers, AreSeenToStartAnew) {
  using Row = std::tuple<Session_stamp, Session_stamp, bool>;
  for (auto const& [before, next, reboot] :
       {Row{{5, true}, {6, true}, false}, Row{{5, true}, {900, true}, false}, Row{{5, true}, {5, true}, true},
        Row{{5, true}, {1, true}, true}, Row{{0xFFFF, true}, {1, false}, false},
        Row{{0xFFFF, false}, {1, false}, false}, Row{{5, false}, {6, true}, true}}) {
    Peers peers;
    Time const now{std::chrono::seconds(1)};
    EXPECT_FALSE(peers.accept({}, peer, Path::unicast, before)) << before.session;
    EXPECT_FALSE(peers.accept(now, peer, Path::multicast, {1, true}));
    EXPECT_EQ(peers.accept(now + std::chrono::seconds(1), peer, Path::unicast, next),
              reboot ? std::optional(now) : std::nullopt)
        << before.session << " " << next.session;
  }
}

TEST(Peers, ForgottenOnesAreNotMadeToSeeARestart) {
  Peers peers;
  peers.accept({}, address_v4{0}, Path::unicast, {1, true});
  for (int i = 0; i < 5; ++i) {
    peers.next_to(address_v4{0});
  }
  for (std::uint32_t i = 1; i <= Peers::max_peers; ++i) {
    peers.accept({}, address_v4{i}, Path::unicast, {1, true});
  }
  EXPECT_EQ(peers.next_to(address_v4{0}).session, 6);
  EXPECT_FALSE(peers.accept({}, address_v4{0}, Path::unicast, {1, true})) << "it was forgotten";
}

// What else is wrong with an endpoint, the engine's test shows.
TEST(AnEndpointFilter, BelievesWhatAPeerCanBeReachedAt) {
  Discovery_settings settings;
  auto const believes = [&settings](char const* own, char const* endpoint) {
    Endpoint_filter const filter(settings, make_address_v4(own));
    return filter.tcp_endpoint({{make_address_v4(endpoint), protocol_tcp, 1}}).has_value();
  };
  EXPECT_TRUE(believes("127.0.0.1", "127.0.0.2"));
  settings.loopback_endpoints = false;
  EXPECT_FALSE(believes("127.0.0.1", "127.0.0.2"));
  settings.endpoint_network = boost::asio::ip::make_network_v4("192.0.2.0/28");
  EXPECT_TRUE(believes("192.0.2.1", "192.0.2.15"));
  EXPECT_FALSE(believes("192.0.2.1", "192.0.2.16"));
}

}  // namespace
}  // namespace linux_platform::com::discovery
