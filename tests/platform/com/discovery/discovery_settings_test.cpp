// SPDX-License-Identifier: Apache-2.0
// What the manifest may say of discovery, and how a mistake is named.
#include "platform/src/com/discovery/discovery_settings.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace linux_platform::com {
namespace {

Discovery_settings read(char const* text) {
  auto document = std::make_shared<nlohmann::json const>(nlohmann::json::parse(text));
  auto const& value = *document;
  return read_discovery_settings({std::move(document), value, "m.json", "discovery"});
}

TEST(DiscoverySettings, AreReadOverTheDefaults) {
  auto const defaults = read("{}");
  EXPECT_EQ(defaults.group.to_string(), "224.224.224.245");
  EXPECT_EQ(defaults.port, 30490);
  EXPECT_FALSE(defaults.loopback_endpoints);
  auto const read_ones = read(
      R"({"group": "239.1.2.3", "port": 4000, "initial_delay_min_ms": 1, "initial_delay_max_ms": 2,
          "repetitions_base_delay_ms": 3, "repetitions_max": 4, "cyclic_offer_delay_ms": 2000, "ttl_s": 6,
          "request_response_delay_min_ms": 7, "request_response_delay_max_ms": 8, "find_window_ms": 9,
          "loopback_endpoints": false, "endpoint_network": "192.0.2.0/24"})");
  EXPECT_EQ(read_ones.group.to_string(), "239.1.2.3");
  EXPECT_EQ(read_ones.port, 4000);
  EXPECT_EQ(read_ones.initial_delay_min.count(), 1);
  EXPECT_EQ(read_ones.initial_delay_max.count(), 2);
  EXPECT_EQ(read_ones.repetitions_base_delay.count(), 3);
  EXPECT_EQ(read_ones.repetitions_max, 4U);
  EXPECT_EQ(read_ones.cyclic_offer_delay.count(), 2000);
  EXPECT_EQ(read_ones.ttl.count(), 6);
  EXPECT_EQ(read_ones.request_response_delay_min.count(), 7);
  EXPECT_EQ(read_ones.request_response_delay_max.count(), 8);
  EXPECT_EQ(read_ones.find_window.count(), 9);
  EXPECT_EQ(read_ones.loopback_endpoints, false);
  EXPECT_EQ(read_ones.endpoint_network->to_string(), "192.0.2.0/24");
}

TEST(DiscoverySettings, AreRefusedWithTheNameOfTheMember) {
  struct Case {
    char const* text;
    char const* complaint;
  };
  for (auto const& c : {Case{R"({"grup": "239.1.2.3"})", "grup"}, Case{R"({"group": "192.0.2.1"})", "discovery.group"},
                        Case{R"({"group": "x"})", "discovery.group"}, Case{R"({"port": 0})", "discovery.port"},
                        Case{R"({"repetitions_max": 11})", "discovery.repetitions_max"},
                        Case{R"({"ttl_s": 16777216})", "discovery.ttl_s"},
                        Case{R"({"initial_delay_min_ms": 11})", "initial_delay_min_ms is greater than"},
                        Case{R"({"request_response_delay_max_ms": 60001})", "discovery.request_response_delay_max_ms"},
                        Case{R"({"endpoint_network": "192.0.2.0/33"})", "discovery.endpoint_network"},
                        Case{R"({"cyclic_offer_delay_ms": 3000, "repetitions_max": 0})", "cyclic_offer_delay_ms"},
                        Case{R"({"cyclic_offer_delay_ms": 2760})", "(240 ms)"}}) {
    try {
      read(c.text);
      FAIL() << c.text;
    } catch (manifest::Manifest_error const& error) {
      EXPECT_NE(std::string{error.what()}.find(c.complaint), std::string::npos) << error.what();
    }
  }
  EXPECT_NO_THROW(read(R"({"cyclic_offer_delay_ms": 2759})"));
}

}  // namespace
}  // namespace linux_platform::com
