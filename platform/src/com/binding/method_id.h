// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_BINDING_METHOD_ID_H
#define PLATFORM_SRC_COM_BINDING_METHOD_ID_H

#include <cstdint>
#include <stdexcept>
#include <string>

#include "platform/src/com/message/service_deployment.h"

namespace linux_platform::com {

/// The id that the manifest gives a method; std::runtime_error when it gives none.
inline std::uint16_t method_id(Service_deployment const& service, std::string const& name) {
  auto const position = service.methods.find(name);
  if (position == service.methods.end()) {
    throw std::runtime_error("the machine manifest gives no id to method " + name + " of " + service.interface);
  }
  return position->second;
}

}  // namespace linux_platform::com

#endif
