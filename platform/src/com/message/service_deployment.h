// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_MESSAGE_SERVICE_DEPLOYMENT_H
#define PLATFORM_SRC_COM_MESSAGE_SERVICE_DEPLOYMENT_H

#include <cstdint>
#include <map>
#include <string>

#include "tarn/com/cpp_binding/wire_format.h"

namespace linux_platform::com {

/// How the machine manifest puts one interface on the wire.
struct Service_deployment {
  struct Instance {
    std::uint16_t id = 0;    ///< 1 to 65534
    std::uint16_t port = 0;  ///< TCP, at the address of whichever process offers it
  };

  std::string interface;
  std::uint16_t id = 0;
  std::uint8_t major = 0;
  std::uint32_t minor = 0;
  std::map<std::string, std::uint16_t> methods;
  std::map<std::string, Instance> instances;
  tarn::com::cpp_binding::Wire_format format;

  /// The method for a message to people: its name when the manifest has one, else its number, and the interface.
  std::string describe(std::uint16_t method) const;
};

}  // namespace linux_platform::com

#endif
