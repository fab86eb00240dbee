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

auto const own = make_address_v4("192.0.2.1");
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

TEST(AnEndpointFilter, BelievesWhatAPeerCanBeReachedAt) {
  using Options = std::vector<Endpoint_option>;
  auto const at = [](char const* address, std::uint16_t port = 30509, std::uint8_t protocol = protocol_tcp) {
    return Endpoint_option{make_address_v4(address), protocol, port};
  };
  auto const good = at("192.0.2.10");
  auto const udp = at("192.0.2.10", 9, protocol_udp);
  auto const loopback = make_address_v4("127.0.0.1");
  Discovery_settings settings;
  Endpoint_filter const filter{settings, own};
  EXPECT_EQ(filter.tcp_endpoint({udp, good}), (Endpoint{good.address, good.port}));
  for (auto const& bad :
       {Options{}, Options{udp}, Options{good, at("192.0.2.10", 30510)}, Options{good, at("192.0.2.10", 30509, 0x84)},
        Options{at("192.0.2.10", 0)}, Options{at("224.0.0.1")}, Options{at("0.0.0.0")}, Options{at("255.255.255.255")},
        Options{at("127.0.0.1")}, Options{at("192.0.2.1")}}) {
    EXPECT_FALSE(filter.tcp_endpoint(bad)) << bad.size();
  }
  EXPECT_TRUE(Endpoint_filter(settings, loopback).tcp_endpoint({at("127.0.0.2")}));
  settings.loopback_endpoints = false;
  EXPECT_FALSE(Endpoint_filter(settings, loopback).tcp_endpoint({at("127.0.0.2")}));
  settings.endpoint_network = boost::asio::ip::make_network_v4("192.0.2.0/28");
  EXPECT_TRUE(Endpoint_filter(settings, own).tcp_endpoint({good}));
  EXPECT_FALSE(Endpoint_filter(settings, own).tcp_endpoint({at("192.0.2.16")}));
}

}  // namespace
}  // namespace linux_platform::com::discovery
