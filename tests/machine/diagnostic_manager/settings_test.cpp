// SPDX-License-Identifier: Apache-2.0
// What the manifest says of the diagnostic manager, and what is refused with the member's name.
#include "machine/diagnostic_manager/settings/settings.h"

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace machine::diagnostic_manager {
namespace {

using linux_platform::manifest::Manifest_error;
using linux_platform::manifest::Node;

/// The least there has to be, with `changes` merged in.
Settings read(std::string const& changes) {
  auto document = std::make_shared<nlohmann::json>(nlohmann::json::parse(R"({"diagnostics": {
      "vin": "FLASHWATCH0000001", "eid": "02:00:00:00:00:0a", "logical_address": 4097}})"));
  (*document)["diagnostics"].merge_patch(nlohmann::json::parse(changes));
  return read_settings(Node(document, *document, "machine.json", ""), "127.0.20.3");
}

TEST(TheSettings, AreTaken) {
  Settings const settings = read(R"({"port": 14000, "announce": true, "activation_types": {"224": "tls"}})");
  EXPECT_EQ(settings.address.to_string(), "127.0.20.3");
  EXPECT_EQ(settings.entity.identity.eid[5], 0x0A);
  EXPECT_THAT(settings.connection.activation_types,
              testing::ElementsAre(testing::Pair(0xE0, connections::Activation_policy::needs_tls)));
  EXPECT_EQ(settings.udp.broadcast->address().to_string(), "255.255.255.255");
  EXPECT_EQ(settings.udp.broadcast->port(), 14000);
}

TEST(TheSettings, AreRefusedByName) {
  struct Row {
    char const* changes;
    char const* member;
  };
  std::vector<Row> const rows{
      {R"({"vin": "short"})", "diagnostics.vin"},
      {R"({"vin": "flashwatch0000001"})", "diagnostics.vin"},
      {R"({"eid": "02:00:00:00:00"})", "diagnostics.eid"},
      {R"({"eid": "02-00-00-00-00-01"})", "diagnostics.eid"},
      {R"({"gid": "02:00:00:00:00:0g"})", "diagnostics.gid"},
      {R"({"logical_address": 4095})", "diagnostics.logical_address"},
      {R"({"address": "localhost"})", "diagnostics.address"},
      {R"({"testers": 256})", "diagnostics.testers"},
      {R"({"tester_addresses": {"first": 3712, "last": 3711}})", "diagnostics.tester_addresses.last"},
      {R"({"activation_types": {"256": "open"}})", "diagnostics.activation_types.256"},
      {R"({"activation_types": {"0": "shut"}})", "diagnostics.activation_types.0"},
      {R"({"timers": {"p2_ms": 65536}})", "diagnostics.timers.p2_ms"},
      {R"({"timers": {"p3_ms": 1}})", "p3_ms"},
      {R"({"limits": {"outgoing_queue_bytes": 4000}})", "diagnostics.limits"},
      {R"({"surprise": 1})", "surprise"},
  };
  for (Row const& row : rows) {
    try {
      read(row.changes);
      ADD_FAILURE() << "taken: " << row.changes;
    } catch (Manifest_error const& refusal) {
      EXPECT_THAT(refusal.what(), testing::HasSubstr(row.member)) << row.changes;
    }
  }
}

}  // namespace
}  // namespace machine::diagnostic_manager
