// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/runtime/settings.h"

#include <array>
#include <cstdint>
#include <string_view>

#include <boost/asio/ip/address_v4.hpp>

#include "platform/src/com/discovery/service_key.h"
#include "platform/src/com/message/header.h"

namespace linux_platform::com {
namespace {

using manifest::Node;
using tarn::com::cpp_binding::String_encoding;

constexpr std::uint64_t max_service_id = 0xFFFD;
constexpr std::uint64_t max_instance_id = 0xFFFE;
constexpr std::uint64_t max_method_id = event_bit - 1;
constexpr std::uint64_t max_port = 0xFFFF;

String_encoding read_encoding(Node const& node) {
  std::string const name = node.text();
  if (name != "utf8_bom" && name != "utf8") {
    node.refuse(R"(must be "utf8_bom" or "utf8")");
  }
  return name == "utf8" ? String_encoding::plain : String_encoding::utf8_bom;
}

void read_length_field(Node const& fields, std::string_view name, bool may_be_none, std::size_t& bytes) {
  if (auto const member = fields.find(name)) {
    bytes = static_cast<std::size_t>(member->number(may_be_none ? 0 : 1, 4));
    if (bytes == 3) {
      member->refuse("must be 1, 2 or 4 bytes");
    }
  }
}

Service_deployment::Instance read_instance(Node const& node) {
  node.allow_only({"id", "port"});
  return {static_cast<std::uint16_t>(node.member("id").number(1, max_instance_id)),
          static_cast<std::uint16_t>(node.member("port").number(1, max_port))};
}

Service_deployment read_service(std::string const& interface, Node const& node) {
  node.allow_only(
      {"service_id", "major_version", "minor_version", "methods", "string_encoding", "length_fields", "instances"});
  Service_deployment service;
  service.interface = interface;
  service.id = static_cast<std::uint16_t>(node.member("service_id").number(1, max_service_id));
  service.major = static_cast<std::uint8_t>(node.member("major_version").number(0, any_major - 1));
  if (auto const minor = node.find("minor_version")) {
    service.minor = static_cast<std::uint32_t>(minor->number(0, any_minor - 1));
  }
  if (auto const methods = node.find("methods")) {
    for (auto const& [name, id] : methods->members()) {
      service.methods.emplace(name, static_cast<std::uint16_t>(id.number(0, max_method_id)));
    }
  }
  if (auto const encoding = node.find("string_encoding")) {
    service.format.strings = read_encoding(*encoding);
  }
  if (auto const fields = node.find("length_fields")) {
    fields->allow_only({"strings", "arrays", "records"});
    read_length_field(*fields, "strings", false, service.format.string_length_bytes);
    read_length_field(*fields, "arrays", false, service.format.array_length_bytes);
    read_length_field(*fields, "records", true, service.format.record_length_bytes);
  }
  for (auto const& [name, instance] : node.member("instances").members()) {
    service.instances.emplace(name, read_instance(instance));
  }
  return service;
}

}  // namespace

Settings read_settings(manifest::Machine_manifest const& machine) {
  Settings settings;
  settings.address = boost::asio::ip::make_address_v4(machine.process().member("address").text());
  auto const communication = machine.root().find("communication");
  if (!communication) {
    return settings;
  }
  communication->allow_only({"discovery", "limits", "services"});
  if (auto const discovery = communication->find("discovery")) {
    settings.discovery = read_discovery_settings(*discovery);
  }
  if (auto const limits = communication->find("limits")) {
    settings.limits = read_limits(*limits);
  }
  settings.discovery.services.emplace();
  if (auto const services = communication->find("services")) {
    for (auto const& [interface, node] : services->members()) {
      auto const service = std::make_shared<Service_deployment const>(read_service(interface, node));
      settings.discovery.services->insert(service->id);
      settings.services.emplace(interface, service);
    }
  }
  return settings;
}

}  // namespace linux_platform::com
