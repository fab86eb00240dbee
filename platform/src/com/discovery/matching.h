// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_MATCHING_H
#define PLATFORM_SRC_COM_DISCOVERY_MATCHING_H

#include "platform/src/com/discovery/service_key.h"

namespace linux_platform::com::discovery {

/// Whether an offer is what a search asks for.
inline bool matches(Service_key const& wanted, Service_key const& offered) noexcept {
  return wanted.service == offered.service &&
         (wanted.instance == any_instance || wanted.instance == offered.instance) &&
         (wanted.major == any_major || wanted.major == offered.major) &&
         (wanted.minor == any_minor || wanted.minor == offered.minor);
}

/// Whether a key names one offer: every id a real one, none that stands for all.
inline bool is_concrete(Service_key const& key) noexcept {
  return key.service != 0 && key.service != 0xFFFF && key.instance != 0 && key.instance != any_instance &&
         key.major != any_major && key.minor != any_minor;
}

}  // namespace linux_platform::com::discovery

#endif
