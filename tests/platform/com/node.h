// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_PLATFORM_COM_NODE_H
#define TESTS_PLATFORM_COM_NODE_H

#include <cstdint>
#include <memory>
#include <string>
#include <unistd.h>

#include "platform/src/com/runtime/process_runtime.h"
#include "platform/src/com/runtime/runtime.h"

namespace linux_platform::com::testing_support {

/// A service with method "named" and these instances.
inline std::shared_ptr<Service_deployment const> deployment(
    char const* interface, std::uint16_t id, std::map<std::string, Service_deployment::Instance> const& instances) {
  Service_deployment service;
  service.interface = interface;
  service.id = id;
  service.major = 1;
  service.methods = {{"named", 7}};
  service.instances = {instances.begin(), instances.end()};
  return std::make_shared<Service_deployment const>(service);
}

/// A node of a network of its own for this test process: its addresses, 127.x.y.`host`, and its discovery port are
/// derived from the process id, so that tests can run beside each other.
inline Settings settings(std::uint8_t host, Limits const& limits = {}) {
  auto const pid = static_cast<std::uint32_t>(::getpid());
  Settings settings;
  settings.address =
      boost::asio::ip::address_v4((127U << 24U) | ((64U + pid % 128U) << 16U) | ((pid / 128U % 256U) << 8U) | host);
  settings.discovery.port = static_cast<std::uint16_t>(33'000 + pid % 20'000);
  settings.limits = limits;
  settings.services = {{"test::Echo", deployment("test::Echo", 0x6001, {{"one", {1, 30600}}, {"other", {2, 30601}}})},
                       {"test::Back", deployment("test::Back", 0x6002, {{"back", {1, 30602}}})}};
  return settings;
}

inline std::shared_ptr<Runtime> node(std::uint8_t host, Limits const& limits = {}) {
  return std::make_shared<Runtime>(settings(host, limits));
}

/// Proxies and skeletons made while it lives belong to `runtime`.
class On_node {
 public:
  explicit On_node(std::shared_ptr<Runtime> runtime) { Process_runtime::start(std::move(runtime)); }
  ~On_node() { Process_runtime::end(); }
  On_node(On_node const&) = delete;
  On_node& operator=(On_node const&) = delete;
};

}  // namespace linux_platform::com::testing_support

#endif
