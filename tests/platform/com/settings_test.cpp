// SPDX-License-Identifier: Apache-2.0
// What a node reads from the machine manifest, and what it refuses there.
#include "platform/src/com/runtime/settings.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "tarn/com/runtime/component_singleton.h"
#include "tests/platform/manifest/scratch_manifest.h"

namespace linux_platform::com {
namespace {

using nlohmann::json;

Settings read(json const& manifest) {
  Scratch_manifest const scratch(manifest.dump());
  return read_settings(manifest::Machine_manifest(scratch.file(), "flashwatch"));
}

template <typename... Values>
std::string words(Values const&... values) {
  std::ostringstream text;
  ((text << values << ' '), ...);
  return text.str();
}

TEST(Settings, TakeWhatTheManifestSays) {
  Settings const settings = read(json::parse(R"({
    "processes": {"flashwatch": {"application_id": "flashwatch", "address": "127.9.9.9"}},
    "communication": {
      "limits": {"message_bytes": 16, "connections": 1, "outstanding_requests": 2, "response_time_ms": 3,
        "worker_threads": 6},
      "discovery": {"group": "239.1.2.3", "port": 4000, "initial_delay_min_ms": 1, "initial_delay_max_ms": 2,
        "repetitions_base_delay_ms": 3, "repetitions_max": 4, "cyclic_offer_delay_ms": 2000, "ttl_s": 6,
        "request_response_delay_min_ms": 7, "request_response_delay_max_ms": 8, "find_window_ms": 9,
        "loopback_endpoints": false, "endpoint_network": "192.0.2.0/24"},
      "services": {"a::B": {"service_id": 65533, "major_version": 2, "minor_version": 7, "methods": {"m": 32767},
        "string_encoding": "utf8", "length_fields": {"strings": 1, "arrays": 2, "records": 0},
        "instances": {"i": {"id": 65534, "port": 65535}}}}}})"));
  EXPECT_EQ(settings.address.to_string(), "127.9.9.9");
  Limits const& limits = settings.limits;
  EXPECT_EQ(words(limits.message_bytes, limits.connections, limits.outstanding_requests, limits.response_time.count(),
                  limits.worker_threads),
            "16 1 2 3 6 ");
  Discovery_settings const& d = settings.discovery;
  EXPECT_EQ(words(d.group, d.port, d.initial_delay_min.count(), d.initial_delay_max.count(),
                  d.repetitions_base_delay.count(), d.repetitions_max, d.cyclic_offer_delay.count(), d.ttl.count(),
                  d.request_response_delay_min.count(), d.request_response_delay_max.count(), d.find_window.count(),
                  d.loopback_endpoints.value(), *d.endpoint_network, *d.services->begin()),
            "239.1.2.3 4000 1 2 3 4 2000 6 7 8 9 0 192.0.2.0/24 65533 ");
  Service_deployment const& service = *settings.services.at("a::B");
  auto const& format = service.format;
  auto const& instance = service.instances.at("i");
  EXPECT_EQ(words(service.id, unsigned{service.major}, service.minor,
                  format.strings == tarn::com::cpp_binding::String_encoding::plain, format.string_length_bytes,
                  format.array_length_bytes, format.record_length_bytes, instance.id, instance.port,
                  service.describe(32767), service.describe(0)),
            "65533 2 7 1 1 2 0 65534 65535 method m of a::B method 0 of a::B ");
}

// The table is read by the manifest's own tests as well.
TEST(Settings, NameWhatIsWrong) {
  auto sample = json::parse(std::ifstream(MACHINE_MANIFEST));
  std::size_t refused = 0;
  for (auto const& row : json::parse(std::ifstream(BROKEN_MANIFESTS))) {
    if (row.contains("communication")) {
      EXPECT_THAT(complaint_of([&] { read(sample.patch(row.at("patch"))); }),
                  testing::HasSubstr(row.at("communication").get<std::string>()))
          << row;
      ++refused;
    }
  }
  EXPECT_GE(refused, 10U);
  sample.at("communication").at("discovery").at("cyclic_offer_delay_ms") = 2759;
  EXPECT_NO_THROW(read(sample)) << "an offer lives just long enough";
}

TEST(AComponentSingleton, DoesNotComeAboutWithoutAManifest) {
  ::setenv("ARA_MACHINE_MANIFEST", "/nonexistent/machine.json", 1);
  EXPECT_THAT([] { tarn::com::runtime::Component_singleton const component(false, ""); },
              testing::ThrowsMessage<std::runtime_error>(testing::HasSubstr("/nonexistent/machine.json")));
}

}  // namespace
}  // namespace linux_platform::com
