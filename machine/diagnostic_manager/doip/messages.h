// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_DOIP_MESSAGES_H
#define MACHINE_DIAGNOSTIC_MANAGER_DOIP_MESSAGES_H

#include <cstdint>
#include <optional>

#include "machine/diagnostic_manager/bytes/byte_view.h"
#include "machine/diagnostic_manager/doip/activation_code.h"
#include "machine/diagnostic_manager/doip/diagnostic_nack.h"
#include "machine/diagnostic_manager/doip/header_nack.h"
#include "machine/diagnostic_manager/doip/identity.h"

/// The payloads of ISO 13400-2 that this entity reads and the whole messages that it writes.
///
///   routing activation request    source(2) type(1) reserved(4) [manufacturer(4)]
///   routing activation response   tester(2) entity(2) code(1) reserved(4)
///   alive check response          source(2)
///   diagnostic message            source(2) target(2) user data(1..)
///   diagnostic (n)ack             source(2) target(2) code(1), source being the answering entity
///   announcement                  VIN(17) logical address(2) EID(6) GID(6) further action(1) sync status(1)
///   entity status response        node type(1) max sockets(1) open sockets(1) max data size(4)
///   power mode response           mode(1)
namespace machine::diagnostic_manager::doip {

struct Routing_activation_request {
  std::uint16_t source;
  std::uint8_t type;
};

struct Diagnostic_message {
  std::uint16_t source;
  std::uint16_t target;
  /// A view into the payload that was read.
  Byte_view user_data;
};

struct Entity_status {
  std::uint8_t max_sockets;
  std::uint8_t open_sockets;
  std::uint32_t max_data_size;
};

enum class Power_mode : std::uint8_t { not_ready = 0, ready = 1, not_supported = 2 };

/// Each gives nothing when the payload is too short.
std::optional<Routing_activation_request> read_routing_activation(Byte_view payload) noexcept;
std::optional<std::uint16_t> read_alive_check_response(Byte_view payload) noexcept;
std::optional<Diagnostic_message> read_diagnostic_message(Byte_view payload) noexcept;

/// Each is a whole message, header included.
Bytes header_nack(std::uint8_t version, Header_nack code);
Bytes announcement(std::uint8_t version, Identity const& identity);
Bytes routing_activation_response(std::uint8_t version, std::uint16_t tester, std::uint16_t entity,
                                  Activation_code code);
Bytes alive_check_request(std::uint8_t version);
Bytes entity_status_response(std::uint8_t version, Entity_status const& status);
Bytes power_mode_response(std::uint8_t version, Power_mode mode);
Bytes diagnostic_message(std::uint8_t version, std::uint16_t source, std::uint16_t target, Byte_view user_data);
Bytes diagnostic_ack(std::uint8_t version, std::uint16_t source, std::uint16_t target);
Bytes diagnostic_nack(std::uint8_t version, std::uint16_t source, std::uint16_t target, Diagnostic_nack code);

}  // namespace machine::diagnostic_manager::doip

#endif
