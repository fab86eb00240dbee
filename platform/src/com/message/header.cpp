// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/message/header.h"

namespace linux_platform::com {
namespace {

std::uint16_t u16(std::uint8_t const* bytes) noexcept {
  return static_cast<std::uint16_t>((unsigned{bytes[0]} << 8U) | bytes[1]);
}

void put_u16(std::uint8_t* bytes, std::uint16_t value) noexcept {
  bytes[0] = static_cast<std::uint8_t>(value >> 8U);
  bytes[1] = static_cast<std::uint8_t>(value & 0xFFU);
}

void put_u32(std::uint8_t* bytes, std::uint32_t value) noexcept {
  put_u16(bytes, static_cast<std::uint16_t>(value >> 16U));
  put_u16(bytes + 2, static_cast<std::uint16_t>(value & 0xFFFFU));
}

}  // namespace

Header read_header(std::uint8_t const* bytes) noexcept {
  Header header;
  header.service = u16(bytes);
  header.method = u16(bytes + 2);
  header.client = u16(bytes + 8);
  header.session = u16(bytes + 10);
  header.protocol_version = bytes[12];
  header.interface_version = bytes[13];
  header.type = Message_type{bytes[14]};
  header.code = Return_code{bytes[15]};
  return header;
}

std::uint32_t read_length(std::uint8_t const* bytes) noexcept {
  return (std::uint32_t{u16(bytes + 4)} << 16U) | u16(bytes + 6);
}

void write_header(std::uint8_t* bytes, Header const& header, std::uint32_t payload_size) noexcept {
  put_u16(bytes, header.service);
  put_u16(bytes + 2, header.method);
  put_u32(bytes + 4, static_cast<std::uint32_t>(Header::size - Header::counted_from) + payload_size);
  put_u16(bytes + 8, header.client);
  put_u16(bytes + 10, header.session);
  bytes[12] = header.protocol_version;
  bytes[13] = header.interface_version;
  bytes[14] = static_cast<std::uint8_t>(header.type);
  bytes[15] = static_cast<std::uint8_t>(header.code);
}

}  // namespace linux_platform::com
