// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/discovery/discovery_settings.h"

#include <string>

#include <boost/system/error_code.hpp>

#include "platform/src/manifest/document.h"

namespace linux_platform::com {
namespace {

using manifest::Node;
using std::chrono::milliseconds;

constexpr milliseconds max_delay{60'000};
constexpr std::uint64_t max_repetitions = 10;
constexpr std::uint64_t max_ttl_s = 0xFFFFFF;  // 24 bits; this one means: until this node starts anew
constexpr milliseconds max_cycle{3'600'000};
constexpr std::uint32_t first_multicast_address = 0xE0000000;  // 224.0.0.0
constexpr std::uint32_t last_multicast_address = 0xEFFFFFFF;   // 239.255.255.255

void read_delay(Node const& discovery, char const* name, milliseconds min, milliseconds max, milliseconds& value) {
  if (auto const node = discovery.find(name)) {
    value = node->milliseconds(min, max);
  }
}

void read_range(Node const& discovery, std::string const& stem, milliseconds& min, milliseconds& max) {
  read_delay(discovery, (stem + "_min_ms").c_str(), milliseconds{0}, max_delay, min);
  read_delay(discovery, (stem + "_max_ms").c_str(), milliseconds{0}, max_delay, max);
  if (min > max) {
    discovery.refuse(stem + "_min_ms is greater than " + stem + "_max_ms");
  }
}

void read_network(Node const& discovery, Discovery_settings& settings) {
  if (auto const node = discovery.find("group")) {
    settings.group = boost::asio::ip::address_v4{
        node->ipv4_address("multicast address", first_multicast_address, last_multicast_address)};
  }
  if (auto const node = discovery.find("port")) {
    settings.port = static_cast<std::uint16_t>(node->number(1, 0xFFFF));
  }
  if (auto const node = discovery.find("loopback_endpoints")) {
    settings.loopback_endpoints = node->boolean();
  }
  if (auto const node = discovery.find("endpoint_network")) {
    boost::system::error_code wrong;
    settings.endpoint_network = boost::asio::ip::make_network_v4(node->text(), wrong);
    // Written again it tells whether all of the text was read, and no digit was lost: a length of 2^32 would be 0.
    if (wrong || settings.endpoint_network->to_string() != node->text()) {
      node->refuse(manifest::in_quotes(node->text()) + " is not an IPv4 network such as 192.0.2.0/24");
    }
  }
}

// The longest silence of an offer lies between its last repetition and the first announcement of the main phase.
void check_silence(Node const& discovery, Discovery_settings const& settings) {
  auto const last_repetition = settings.repetitions_max == 0
                                   ? milliseconds{0}
                                   : settings.repetitions_base_delay * (std::int64_t{1} << settings.repetitions_max);
  if (settings.cyclic_offer_delay + last_repetition >= settings.ttl) {
    discovery.refuse("an offer would expire between two announcements: ttl_s is not longer than cyclic_offer_delay_ms" +
                     std::string{" and the delay of the last repetition ("} + std::to_string(last_repetition.count()) +
                     " ms) together");
  }
}

}  // namespace

Discovery_settings read_discovery_settings(Node const& discovery) {
  discovery.allow_only({"group", "port", "initial_delay_min_ms", "initial_delay_max_ms", "repetitions_base_delay_ms",
                        "repetitions_max", "cyclic_offer_delay_ms", "ttl_s", "request_response_delay_min_ms",
                        "request_response_delay_max_ms", "find_window_ms", "loopback_endpoints", "endpoint_network"});
  Discovery_settings settings;
  read_network(discovery, settings);
  read_range(discovery, "initial_delay", settings.initial_delay_min, settings.initial_delay_max);
  read_range(discovery, "request_response_delay", settings.request_response_delay_min,
             settings.request_response_delay_max);
  read_delay(discovery, "repetitions_base_delay_ms", milliseconds{1}, max_delay, settings.repetitions_base_delay);
  if (auto const node = discovery.find("repetitions_max")) {
    settings.repetitions_max = static_cast<std::uint32_t>(node->number(0, max_repetitions));
  }
  read_delay(discovery, "cyclic_offer_delay_ms", milliseconds{10}, max_cycle, settings.cyclic_offer_delay);
  if (auto const node = discovery.find("ttl_s")) {
    settings.ttl = std::chrono::seconds{node->number(1, max_ttl_s)};
  }
  read_delay(discovery, "find_window_ms", milliseconds{0}, max_delay, settings.find_window);
  check_silence(discovery, settings);
  return settings;
}

}  // namespace linux_platform::com
