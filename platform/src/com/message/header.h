// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_MESSAGE_HEADER_H
#define PLATFORM_SRC_COM_MESSAGE_HEADER_H

#include <cstddef>
#include <cstdint>

namespace linux_platform::com {

constexpr std::uint8_t someip_protocol_version = 1;
/// Set in the id of an event, clear in that of a method.
constexpr std::uint16_t event_bit = 0x8000;

/// The types this platform sends or looks at. A received type may be any other value too.
enum class Message_type : std::uint8_t {
  request = 0x00,
  request_no_return = 0x01,
  response = 0x80,
  error = 0x81,
};

/// A received code may be any other value too; 0x20 to 0x5E are application errors.
enum class Return_code : std::uint8_t {
  ok = 0x00,
  not_ok = 0x01,
  unknown_service = 0x02,
  unknown_method = 0x03,
  timeout = 0x06,
  wrong_protocol_version = 0x07,
  wrong_interface_version = 0x08,
  malformed_message = 0x09,
};

/// The SOME/IP header without its length field, which the framing works with.
struct Header {
  /// Bytes on the wire, the length field included.
  static constexpr std::size_t size = 16;
  /// Where the bytes begin that the length field counts.
  static constexpr std::size_t counted_from = 8;

  std::uint16_t service = 0;
  std::uint16_t method = 0;
  std::uint16_t client = 0;
  std::uint16_t session = 0;
  std::uint8_t protocol_version = someip_protocol_version;
  std::uint8_t interface_version = 0;
  Message_type type = Message_type::request;
  Return_code code = Return_code::ok;
};

/// `bytes` are Header::size bytes.
Header read_header(std::uint8_t const* bytes) noexcept;
/// What the length field of the message at `bytes` says; needs the first 8 bytes.
std::uint32_t read_length(std::uint8_t const* bytes) noexcept;
/// Writes Header::size bytes to `bytes`, with the length field for a payload of `payload_size` bytes.
void write_header(std::uint8_t* bytes, Header const& header, std::uint32_t payload_size) noexcept;

/// Whether it is a magic cookie: a mark in the stream by which a receiver could find its place again. No request.
constexpr bool is_magic_cookie(Header const& header) noexcept {
  return header.service == 0xFFFF && (header.method == 0x0000 || header.method == event_bit);
}

}  // namespace linux_platform::com

#endif
