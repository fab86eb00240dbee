// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_SERVICE_KEY_H
#define PLATFORM_SRC_COM_DISCOVERY_SERVICE_KEY_H

#include <cstdint>
#include <tuple>

namespace linux_platform::com {

/// Stands for every instance, every major version, every minor version; only a search uses them.
constexpr std::uint16_t any_instance = 0xFFFF;
constexpr std::uint8_t any_major = 0xFF;
constexpr std::uint32_t any_minor = 0xFFFFFFFF;

/// What one offer is about.
struct Service_key {
  std::uint16_t service = 0;
  std::uint16_t instance = 0;  ///< 0x0001 .. 0xFFFE in an offer
  std::uint8_t major = 0;
  std::uint32_t minor = 0;

  friend bool operator==(Service_key const& a, Service_key const& b) noexcept { return a.tie() == b.tie(); }
  friend bool operator!=(Service_key const& a, Service_key const& b) noexcept { return !(a == b); }
  friend bool operator<(Service_key const& a, Service_key const& b) noexcept { return a.tie() < b.tie(); }

 private:
  std::tuple<std::uint16_t, std::uint16_t, std::uint8_t, std::uint32_t> tie() const noexcept {
    return {service, instance, major, minor};
  }
};

}  // namespace linux_platform::com

#endif
