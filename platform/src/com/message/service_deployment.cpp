// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/message/service_deployment.h"

namespace linux_platform::com {

std::string Service_deployment::describe(std::uint16_t method) const {
  for (auto const& [name, id_of_name] : methods) {
    if (id_of_name == method) {
      return "method " + name + " of " + interface;
    }
  }
  return "method " + std::to_string(method) + " of " + interface;
}

}  // namespace linux_platform::com
