// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_DOIP_HEADER_H
#define MACHINE_DIAGNOSTIC_MANAGER_DOIP_HEADER_H

#include <cstddef>
#include <cstdint>
#include <optional>

#include "machine/diagnostic_manager/bytes/byte_view.h"
#include "machine/diagnostic_manager/doip/header_nack.h"
#include "machine/diagnostic_manager/doip/payload_type.h"

namespace machine::diagnostic_manager::doip {

enum class Transport : std::uint8_t { udp, tcp };

/// Protocol versions: 2 is ISO 13400-2:2012, 3 is :2019; a vehicle identification request may leave it open.
inline constexpr std::uint8_t version_2012 = 0x02;
inline constexpr std::uint8_t version_2019 = 0x03;
inline constexpr std::uint8_t version_any = 0xFF;

/// The generic header:
///   version(1) inverse version(1) payload type(2) payload length(4, without these 8 bytes)
struct Header {
  static constexpr std::size_t size = 8;

  std::uint8_t version = 0;
  std::uint8_t inverse_version = 0;
  Payload_type type = Payload_type::header_nack;
  std::uint32_t length = 0;
};

/// Nothing when `bytes` holds fewer than Header::size bytes.
std::optional<Header> read_header(Byte_view bytes) noexcept;

/// The checks that need nothing but the header, in the order of the standard: pattern and version, payload type for
/// this transport, length against `max_data_size`. Whether there is memory comes after them, then check_length.
std::optional<Header_nack> check_header(Header const& header, Transport transport,
                                        std::uint32_t max_data_size) noexcept;

/// The last check: is the length one that the payload type can have?
std::optional<Header_nack> check_length(Header const& header) noexcept;

/// The version to answer a message of `version` with: the same, if it is one that is spoken here.
std::uint8_t answering_version(std::uint8_t version, std::uint8_t own) noexcept;

}  // namespace machine::diagnostic_manager::doip

#endif
