// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_MESSAGE_LAYOUT_H
#define PLATFORM_SRC_COM_DISCOVERY_MESSAGE_LAYOUT_H

#include <cstddef>
#include <cstdint>

// What the reader and the builder of discovery messages agree on (SOME/IP service discovery, big-endian throughout).
//
// message  = message id (4), length (4), client id (2), session (2), versions, type, return code (4),
//            flags (1), reserved (3), entries length (4), entries, options length (4), options
// entry    = type (1), first index, second index (1 + 1), first and second count (4 bit each), service, instance (2 +
// 2),
//            major (1), ttl (3), minor (4) | reserved (1), reserved and counter (4 bit each), eventgroup (2)
// option   = length behind the type (2), type (1), reserved (1), data
// endpoint = address (4), reserved (1), protocol (1), port (2)
namespace linux_platform::com::discovery {

constexpr std::uint32_t message_id = 0xFFFF8100;
constexpr std::uint32_t versions_type_and_return_code = 0x01010200;
constexpr std::uint32_t length_without_arrays = 20;
constexpr std::uint32_t length_starts_behind = 8;
constexpr std::uint8_t reboot_flag = 0x80;
constexpr std::uint8_t unicast_flag = 0x40;
constexpr std::uint32_t entry_size = 16;
constexpr std::uint32_t ipv4_endpoint_size = 12;
constexpr std::uint16_t ipv4_endpoint_length = 9;
constexpr std::uint8_t ipv4_endpoint = 0x04;
constexpr std::uint8_t ipv4_discovery_endpoint = 0x24;

}  // namespace linux_platform::com::discovery

#endif
