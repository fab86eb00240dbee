// SPDX-License-Identifier: Apache-2.0
// What a node reads from the machine manifest, and what it refuses there.
#include "platform/src/com/runtime/settings.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

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

constexpr char const* address = R"("address": "127.9.9.9")";

TEST(Settings, HaveDefaultsForWhatTheManifestDoesNotSay) {
  Settings const settings =
      read(address, R"({"services": {"a::B": {"service_id": 5, "major_version": 2, "instances": {}}}})");
  EXPECT_EQ(settings.address.to_string(), "127.9.9.9");
  EXPECT_EQ(settings.limits.message_bytes, 4'194'304U);
  EXPECT_EQ(settings.limits.connections, 64U);
  EXPECT_EQ(settings.limits.outstanding_requests, 64U);
  EXPECT_EQ(settings.limits.response_time, std::chrono::seconds(5));
  EXPECT_EQ(settings.limits.worker_threads, 4U);
  Service_deployment const& service = *settings.services.at("a::B");
  EXPECT_EQ(service.format.strings, String_encoding::utf8_bom);
  EXPECT_EQ(service.format.string_length_bytes, 4U);
  EXPECT_EQ(service.format.array_length_bytes, 4U);
  EXPECT_EQ(service.format.record_length_bytes, 4U);
}

TEST(Settings, TakeWhatTheManifestSays) {
  Settings const settings = read(address, R"({
    "limits": {"message_bytes": 16, "connections": 1, "outstanding_requests": 2, "response_time_ms": 3, "worker_threads": 6},
    "services": {"a::B": {"service_id": 65533, "major_version": 2, "minor_version": 7, "methods": {"m": 32767},
                          "string_encoding": "utf8", "length_fields": {"strings": 1, "arrays": 2, "records": 0},
                          "instances": {"i": {"id": 65534, "port": 65535}}}}})");
  EXPECT_EQ(settings.limits.message_bytes, 16U);
  EXPECT_EQ(settings.limits.connections, 1U);
  EXPECT_EQ(settings.limits.outstanding_requests, 2U);
  EXPECT_EQ(settings.limits.response_time, std::chrono::milliseconds(3));
  EXPECT_EQ(settings.limits.worker_threads, 6U);
  Service_deployment const& service = *settings.services.at("a::B");
  EXPECT_EQ(service.id, 65533);
  EXPECT_EQ(service.minor, 7U);
  EXPECT_EQ(service.methods.at("m"), 32767);
  EXPECT_EQ(service.format.strings, String_encoding::plain);
  EXPECT_EQ(service.format.string_length_bytes, 1U);
  EXPECT_EQ(service.format.array_length_bytes, 2U);
  EXPECT_EQ(service.format.record_length_bytes, 0U);
  EXPECT_EQ(service.instances.at("i").id, 65534);
  EXPECT_EQ(service.instances.at("i").port, 65535);
  EXPECT_EQ(service.describe(32767), "method m of a::B");
  EXPECT_EQ(service.describe(0), "method 0 of a::B");
}

TEST(Settings, NameWhatIsWrong) {
  struct Row {
    char const* process;
    char const* communication;
    char const* named;
  };
  auto const service = [](std::string const& members) {
    return R"({"services": {"a::B": {"service_id": 5, "major_version": 1, )" + members + "}}}";
  };
  std::vector<std::string> const services{
      service(R"("instances": {"i": {"id": 1}})"),
      service(R"("instances": {"i": {"id": 0, "port": 1}})"),
      service(R"("instances": {"i": {"id": 65535, "port": 1}})"),
      service(R"("instances": {}, "methods": {"m": 32768})"),
      service(R"("instances": {}, "string_encoding": "utf16")"),
      service(R"("instances": {}, "length_fields": {"arrays": 3})"),
      service(R"("instances": {}, "length_fields": {"arrays": 0})"),
      service(R"("instances": {}, "port": 3)"),
  };
  char const* const named[] = {"instances.i.port", "instances.i.id",       "instances.i.id",       "methods.m",
                               "string_encoding",  "length_fields.arrays", "length_fields.arrays", "port"};
  std::vector<Row> table{
      {R"("address": "nowhere")", "{}", "processes.p.address"},
      {R"("address": "0.0.0.0")", "{}", "processes.p.address"},
      {R"("address": "224.0.0.1")", "{}", "processes.p.address"},
      {R"("x": 1)", "{}", "address"},
      {address, R"({"limits": {"message_bytes": 15}})", "communication.limits.message_bytes"},
      {address, R"({"limits": {"worker_threads": 0}})", "communication.limits.worker_threads"},
      {address, R"({"limits": {"conections": 5}})", "conections"},
      {address, R"({"service": {}})", "service"},
  };
  for (std::size_t i = 0; i < services.size(); ++i) {
    table.push_back({address, services[i].c_str(), named[i]});
  }
  for (Row const& row : table) {
    try {
      read(row.process, row.communication);
      ADD_FAILURE() << row.process << row.communication << " was accepted";
    } catch (manifest::Manifest_error const& error) {
      EXPECT_NE(std::string(error.what()).find(row.named), std::string::npos) << error.what();
    }
  }
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
