// SPDX-License-Identifier: Apache-2.0
// What a node reads from the machine manifest, and what it refuses there.
#include "platform/src/com/runtime/settings.h"

#include <cstdlib>
#include <fstream>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tarn/com/runtime/component_singleton.h"

namespace linux_platform::com {
namespace {

using tarn::com::cpp_binding::String_encoding;

Settings read(std::string const& process, std::string const& communication) {
  std::string const file = testing::TempDir() + "com_settings_test.json";
  std::ofstream(file) << R"({"processes": {"p": {"application_id": "p", )" << process << R"(}}, "communication": )"
                      << communication << "}";
  return read_settings(manifest::Machine_manifest(file, "p"));
}

using Numbers = std::vector<std::uint64_t>;
constexpr char const* address = R"("address": "127.9.9.9")";

void expect_refusal(std::string const& process, std::string const& communication, char const* named) {
  try {
    read(process, communication);
    ADD_FAILURE() << process << communication << " was accepted";
  } catch (manifest::Manifest_error const& error) {
    EXPECT_NE(std::string(error.what()).find(named), std::string::npos) << error.what();
  }
}

TEST(Settings, TakeWhatTheManifestSays) {
  Settings const settings = read(address, R"({
    "limits": {"message_bytes": 16, "connections": 1, "outstanding_requests": 2, "response_time_ms": 3, "worker_threads": 6},
    "discovery": {"group": "239.1.2.3", "port": 4000, "initial_delay_min_ms": 1, "initial_delay_max_ms": 2,
      "repetitions_base_delay_ms": 3, "repetitions_max": 4, "cyclic_offer_delay_ms": 2000, "ttl_s": 6,
      "request_response_delay_min_ms": 7, "request_response_delay_max_ms": 8, "find_window_ms": 9,
      "loopback_endpoints": false, "endpoint_network": "192.0.2.0/24"},
    "services": {"a::B": {"service_id": 65533, "major_version": 2, "minor_version": 7, "methods": {"m": 32767},
                          "string_encoding": "utf8", "length_fields": {"strings": 1, "arrays": 2, "records": 0},
                          "instances": {"i": {"id": 65534, "port": 65535}}}}})");
  Limits const& limits = settings.limits;
  EXPECT_EQ(limits.response_time, std::chrono::milliseconds(3));
  Numbers const limits_read{limits.message_bytes, limits.connections, limits.outstanding_requests,
                            limits.worker_threads};
  EXPECT_EQ(limits_read, (Numbers{16, 1, 2, 6}));
  Discovery_settings const& d = settings.discovery;
  EXPECT_EQ(d.group.to_string() + " " + d.endpoint_network->to_string(), "239.1.2.3 192.0.2.0/24");
  EXPECT_EQ(d.loopback_endpoints, false);
  EXPECT_EQ(d.services, std::set<std::uint16_t>{65533});
  auto const number = [](auto const& time) { return static_cast<std::uint64_t>(time.count()); };
  Numbers const discovery_read{d.port,
                               number(d.initial_delay_min),
                               number(d.initial_delay_max),
                               number(d.repetitions_base_delay),
                               d.repetitions_max,
                               number(d.cyclic_offer_delay),
                               number(d.ttl),
                               number(d.request_response_delay_min),
                               number(d.request_response_delay_max),
                               number(d.find_window)};
  EXPECT_EQ(discovery_read, (Numbers{4000, 1, 2, 3, 4, 2000, 6, 7, 8, 9}));
  Service_deployment const& service = *settings.services.at("a::B");
  EXPECT_EQ(service.format.strings, String_encoding::plain);
  Numbers const service_read{service.id,
                             service.minor,
                             service.format.string_length_bytes,
                             service.format.array_length_bytes,
                             service.format.record_length_bytes,
                             service.instances.at("i").id,
                             service.instances.at("i").port};
  EXPECT_EQ(service_read, (Numbers{65533, 7, 1, 2, 0, 65534, 65535}));
  EXPECT_EQ(service.describe(32767) + ", " + service.describe(0), "method m of a::B, method 0 of a::B");
}

TEST(Settings, NameWhatIsWrong) {
  for (char const* bad : {R"("address": "nowhere")", R"("address": "0.0.0.0")", R"("address": "224.0.0.1")"}) {
    expect_refusal(bad, "{}", "processes.p.address");
  }
  expect_refusal(R"("x": 1)", "{}", "address");
  expect_refusal(address, R"({"service": {}})", "service");
  std::string const service = R"({"services": {"a::B": {"service_id": 5, "major_version": 1, "instances": {)";
  std::string const limits = R"({"limits": {)";
  std::string const discovery = R"({"discovery": {)";
  struct Row {
    std::string const& begin;
    char const* rest;
    char const* named;
  };
  for (Row const& row : {
           Row{limits, R"("message_bytes": 15}})", "communication.limits.message_bytes"},
           Row{limits, R"("worker_threads": 0}})", "communication.limits.worker_threads"},
           Row{limits, R"("conections": 5}})", "conections"},
           Row{service, R"("i": {"id": 1}}}}})", "instances.i.port"},
           Row{service, R"("i": {"id": 0, "port": 1}}}}})", "instances.i.id"},
           Row{service, R"("i": {"id": 65535, "port": 1}}}}})", "instances.i.id"},
           Row{service, R"(}, "methods": {"m": 32768}}}})", "methods.m"},
           Row{service, R"(}, "string_encoding": "utf16"}}})", "string_encoding"},
           Row{service, R"(}, "length_fields": {"arrays": 3}}}})", "length_fields.arrays"},
           Row{service, R"(}, "length_fields": {"arrays": 0}}}})", "length_fields.arrays"},
           Row{service, R"(}, "port": 3}}})", "port"},
           Row{discovery, R"("grup": "239.1.2.3"}})", "grup"},
           Row{discovery, R"("group": "192.0.2.1"}})", "discovery.group"},
           Row{discovery, R"("group": "224.0.0.1\u0000x"}})", "discovery.group"},
           Row{discovery, R"("port": 0}})", "discovery.port"},
           Row{discovery, R"("repetitions_max": 11}})", "discovery.repetitions_max"},
           Row{discovery, R"("ttl_s": 16777216}})", "discovery.ttl_s"},
           Row{discovery, R"("initial_delay_min_ms": 11}})", "initial_delay_min_ms is greater than"},
           Row{discovery, R"("endpoint_network": "192.0.2.0/33"}})", "discovery.endpoint_network"},
           Row{discovery, R"("endpoint_network": "192.0.2.0\u0000x/24"}})", "discovery.endpoint_network"},
           Row{discovery, R"("endpoint_network": "10.0.0.0/4294967296"}})", "discovery.endpoint_network"},
           Row{discovery, R"("cyclic_offer_delay_ms": 3000, "repetitions_max": 0}})", "cyclic_offer_delay_ms"},
           Row{discovery, R"("cyclic_offer_delay_ms": 2760}})", "(240 ms)"},
       }) {
    expect_refusal(address, row.begin + row.rest, row.named);
  }
  EXPECT_NO_THROW(read(address, discovery + R"("cyclic_offer_delay_ms": 2759}})"));
}

TEST(AComponentSingleton, DoesNotComeAboutWithoutAManifest) {
  ::setenv("ARA_MACHINE_MANIFEST", "/nonexistent/machine.json", 1);
  try {
    tarn::com::runtime::Component_singleton const component(false, "");
    ADD_FAILURE() << "it did";
  } catch (std::runtime_error const& error) {
    std::string const text = error.what();
    EXPECT_NE(text.find("/nonexistent/machine.json"), std::string::npos) << text;
    EXPECT_EQ(text.find('\n'), std::string::npos) << text;
  }
}

}  // namespace
}  // namespace linux_platform::com
