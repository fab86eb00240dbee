// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_RUNTIME_SETTINGS_H
#define PLATFORM_SRC_COM_RUNTIME_SETTINGS_H

#include <map>
#include <memory>
#include <string>

#include <boost/asio/ip/address_v4.hpp>

#include "platform/src/com/connection/limits.h"
#include "platform/src/com/discovery/discovery_settings.h"
#include "platform/src/com/message/service_deployment.h"
#include "platform/src/manifest/machine_manifest.h"

namespace linux_platform::com {

/// What the communication of one process needs to know of the machine.
struct Settings {
  boost::asio::ip::address_v4 address;  ///< this process's own
  Discovery_settings discovery;
  Limits limits;
  /// By the name of the interface.
  std::map<std::string, std::shared_ptr<Service_deployment const>> services;
};

/// Reads "communication" and the process's "address". Throws manifest::Manifest_error.
Settings read_settings(manifest::Machine_manifest const& machine);

}  // namespace linux_platform::com

#endif
