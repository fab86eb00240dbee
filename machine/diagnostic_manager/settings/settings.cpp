// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/settings/settings.h"

#include <optional>
#include <string_view>
#include <utility>

#include "machine/diagnostic_manager/settings/names.h"

namespace machine::diagnostic_manager {
namespace {

using linux_platform::manifest::Node;
using Milliseconds = std::chrono::milliseconds;

constexpr std::uint64_t max_bytes = 16777216;
constexpr std::uint64_t max_count = 1024;
constexpr Milliseconds shortest{1};
constexpr Milliseconds longest{3600000};

template <typename Number>
void take(std::optional<Node> const& node, std::string_view name, Number& value, std::uint64_t min, std::uint64_t max) {
  if (std::optional<Node> const member = node ? node->find(name) : std::nullopt) {
    value = static_cast<Number>(member->number(min, max));
  }
}

void take(std::optional<Node> const& node, std::string_view name, Milliseconds& value, Milliseconds min = shortest,
          Milliseconds max = longest) {
  if (std::optional<Node> const member = node ? node->find(name) : std::nullopt) {
    value = member->milliseconds(min, max);
  }
}

boost::asio::ip::address_v4 read_address(Node const& node) {
  return boost::asio::ip::address_v4(node.ipv4_address("address", 0, 0xFFFFFFFF));
}

void read_identity(Node const& node, Settings& settings) {
  doip::Identity& identity = settings.entity.identity;
  identity.vin = read_vin(node.member("vin"));
  identity.eid = read_six_bytes(node.member("eid"));
  if (std::optional<Node> const gid = node.find("gid")) {
    identity.gid = read_six_bytes(*gid);
  }
  identity.logical_address = static_cast<std::uint16_t>(node.member("logical_address").number(0x1000, 0x7FFF));
  settings.connection.logical_address = identity.logical_address;
  take(node, "functional_address", settings.connection.functional_address, 0xE400, 0xEFFF);
}

void read_testers(Node const& node, Settings& settings) {
  take(node, "testers", settings.entity.max_sockets, 1, 255);
  if (std::optional<Node> const range = node.find("tester_addresses")) {
    range->allow_only({"first", "last"});
    std::uint64_t const first = range->member("first").number(1, 0xFFFF);
    settings.connection.first_tester = static_cast<std::uint16_t>(first);
    settings.connection.last_tester = static_cast<std::uint16_t>(range->member("last").number(first, 0xFFFF));
  }
  if (std::optional<Node> const types = node.find("activation_types")) {
    settings.connection.activation_types.clear();
    for (auto const& [name, policy] : types->members()) {
      settings.connection.activation_types[read_activation_type(name, policy)] = read_activation_policy(policy);
    }
  }
}

void read_timers(std::optional<Node> const& node, Settings& settings) {
  if (node) {
    node->allow_only({"initial_inactivity_ms", "general_inactivity_ms", "alive_check_ms", "confirmation_ms",
                      "announce_wait_ms", "announce_interval_ms", "p2_ms", "p2_star_ms", "s3_ms", "linger_ms"});
  }
  take(node, "initial_inactivity_ms", settings.connection.initial_inactivity);
  take(node, "general_inactivity_ms", settings.connection.general_inactivity);
  take(node, "alive_check_ms", settings.alive_check_time);
  take(node, "confirmation_ms", settings.connection.confirmation_delay);
  take(node, "announce_wait_ms", settings.udp.announce_wait, Milliseconds(0));
  take(node, "announce_interval_ms", settings.udp.announce_interval);
  // The two are told to the tester in 16 bits, as milliseconds and as tens of them.
  take(node, "p2_ms", settings.connection.uds.p2, Milliseconds(2), Milliseconds(65535));
  take(node, "p2_star_ms", settings.connection.uds.p2_star, Milliseconds(10), Milliseconds(655350));
  take(node, "s3_ms", settings.connection.uds.s3);
  take(node, "linger_ms", settings.link.linger);
}

void read_limits(std::optional<Node> const& node, Settings& settings) {
  if (node) {
    node->allow_only({"message_bytes", "request_bytes", "response_bytes", "receive_memory_bytes",
                      "outgoing_queue_bytes", "identifiers_per_request", "pending_responses", "announcements"});
  }
  connections::Connection_config& connection = settings.connection;
  take(node, "message_bytes", connection.max_data_size, 32, max_bytes);
  take(node, "request_bytes", connection.max_request, 3, max_bytes);
  take(node, "response_bytes", connection.uds.max_response, 7, max_bytes);
  take(node, "receive_memory_bytes", settings.receive_memory, 32, max_bytes);
  take(node, "outgoing_queue_bytes", settings.link.outgoing_queue, 64, 2 * max_bytes);
  take(node, "identifiers_per_request", connection.uds.max_identifiers, 1, max_count);
  take(node, "pending_responses", connection.uds.max_pending_responses, 0, max_count);
  take(node, "announcements", settings.udp.announce_count, 1, max_count);
  if (node && settings.link.outgoing_queue < connection.uds.max_response + 64) {
    node->refuse("has no room in outgoing_queue_bytes for a response of response_bytes and 64 bytes beside it");
  }
}

void read_announcement(Node const& node, Settings& settings) {
  std::optional<Node> const announce = node.find("announce");
  std::optional<Node> const broadcast = node.find("broadcast_address");
  if (announce && announce->boolean()) {
    auto const to = broadcast ? read_address(*broadcast) : boost::asio::ip::address_v4::broadcast();
    settings.udp.broadcast = boost::asio::ip::udp::endpoint(to, settings.port);
  }
}

/// What two layers need to know stands in both.
void share(Settings& settings) {
  settings.entity.max_data_size = settings.connection.max_data_size;
  settings.connection.protocol_version = settings.entity.protocol_version;
}

}  // namespace

Settings read_settings(Node const& root, std::string const& own_address) {
  Node const node = root.member("diagnostics");
  node.allow_only({"vin", "eid", "gid", "logical_address", "functional_address", "address", "port", "report_instance",
                   "protocol_version", "power_mode", "testers", "tester_addresses", "activation_types",
                   "read_needs_extended_session", "announce", "broadcast_address", "timers", "limits"});
  Settings settings;
  std::optional<Node> const address = node.find("address");
  settings.address = address ? read_address(*address) : boost::asio::ip::make_address_v4(own_address);
  take(node, "port", settings.port, 1, 65535);
  if (std::optional<Node> const instance = node.find("report_instance")) {
    settings.report_instance = instance->text();
  }
  read_identity(node, settings);
  take(node, "protocol_version", settings.entity.protocol_version, doip::version_2012, doip::version_2019);
  if (std::optional<Node> const mode = node.find("power_mode")) {
    settings.entity.power_mode = read_power_mode(*mode);
  }
  read_testers(node, settings);
  if (std::optional<Node> const extended = node.find("read_needs_extended_session")) {
    settings.connection.uds.read_needs_extended_session = extended->boolean();
  }
  read_timers(node.find("timers"), settings);
  read_limits(node.find("limits"), settings);
  read_announcement(node, settings);
  share(settings);
  return settings;
}

}  // namespace machine::diagnostic_manager
