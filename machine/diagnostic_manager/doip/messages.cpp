// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/doip/messages.h"

#include "machine/diagnostic_manager/bytes/byte_reader.h"
#include "machine/diagnostic_manager/bytes/byte_writer.h"
#include "machine/diagnostic_manager/doip/payload_type.h"

namespace machine::diagnostic_manager::doip {
namespace {

constexpr std::uint8_t node_type_node = 1;
constexpr std::uint8_t no_further_action = 0x00;
constexpr std::uint8_t synchronised = 0x00;

/// A message is written behind a header that already knows its length, so that nothing is patched afterwards.
Byte_writer begin(std::uint8_t version, Payload_type type, std::size_t payload_size) {
  Byte_writer writer;
  writer.u8(version).u8(static_cast<std::uint8_t>(version ^ 0xFFU)).u16(static_cast<std::uint16_t>(type));
  writer.u32(static_cast<std::uint32_t>(payload_size));
  return writer;
}

Bytes answer_to_diagnostics(std::uint8_t version, Payload_type type, std::uint16_t source, std::uint16_t target,
                            std::uint8_t code) {
  return begin(version, type, 5).u16(source).u16(target).u8(code).take();
}

template <std::size_t Size>
Byte_view view(std::array<std::uint8_t, Size> const& bytes) {
  return {bytes.data(), bytes.size()};
}

}  // namespace

std::optional<Routing_activation_request> read_routing_activation(Byte_view payload) noexcept {
  Byte_reader reader(payload);
  Routing_activation_request request{};
  request.source = reader.u16();
  request.type = reader.u8();
  reader.u32();
  return reader.ok() ? std::optional(request) : std::nullopt;
}

std::optional<std::uint16_t> read_alive_check_response(Byte_view payload) noexcept {
  Byte_reader reader(payload);
  std::uint16_t const source = reader.u16();
  return reader.ok() ? std::optional(source) : std::nullopt;
}

std::optional<Diagnostic_message> read_diagnostic_message(Byte_view payload) noexcept {
  Byte_reader reader(payload);
  Diagnostic_message message{};
  message.source = reader.u16();
  message.target = reader.u16();
  message.user_data = reader.rest();
  return reader.ok() && !message.user_data.empty() ? std::optional(message) : std::nullopt;
}

Bytes header_nack(std::uint8_t version, Header_nack code) {
  return begin(version, Payload_type::header_nack, 1).u8(static_cast<std::uint8_t>(code)).take();
}

Bytes announcement(std::uint8_t version, Identity const& identity) {
  return begin(version, Payload_type::announcement, 33)
      .bytes(view(identity.vin))
      .u16(identity.logical_address)
      .bytes(view(identity.eid))
      .bytes(view(identity.gid))
      .u8(no_further_action)
      .u8(synchronised)
      .take();
}

Bytes routing_activation_response(std::uint8_t version, std::uint16_t tester, std::uint16_t entity,
                                  Activation_code code) {
  return begin(version, Payload_type::routing_activation_response, 9)
      .u16(tester)
      .u16(entity)
      .u8(static_cast<std::uint8_t>(code))
      .u32(0)
      .take();
}

Bytes alive_check_request(std::uint8_t version) { return begin(version, Payload_type::alive_check_request, 0).take(); }

Bytes entity_status_response(std::uint8_t version, Entity_status const& status) {
  return begin(version, Payload_type::entity_status_response, 7)
      .u8(node_type_node)
      .u8(status.max_sockets)
      .u8(status.open_sockets)
      .u32(status.max_data_size)
      .take();
}

Bytes power_mode_response(std::uint8_t version, Power_mode mode) {
  return begin(version, Payload_type::power_mode_response, 1).u8(static_cast<std::uint8_t>(mode)).take();
}

Bytes diagnostic_message(std::uint8_t version, std::uint16_t source, std::uint16_t target, Byte_view user_data) {
  return begin(version, Payload_type::diagnostic_message, 4 + user_data.size())
      .u16(source)
      .u16(target)
      .bytes(user_data)
      .take();
}

Bytes diagnostic_ack(std::uint8_t version, std::uint16_t source, std::uint16_t target) {
  return answer_to_diagnostics(version, Payload_type::diagnostic_ack, source, target, 0x00);
}

Bytes diagnostic_nack(std::uint8_t version, std::uint16_t source, std::uint16_t target, Diagnostic_nack code) {
  return answer_to_diagnostics(version, Payload_type::diagnostic_nack, source, target, static_cast<std::uint8_t>(code));
}

}  // namespace machine::diagnostic_manager::doip
