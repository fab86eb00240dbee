// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/doip/udp_entity.h"

#include <algorithm>

namespace machine::diagnostic_manager::doip {
namespace {

/// What other entities say: it reaches this one too when it is broadcast, and is not for it.
bool is_said_by_entities(Payload_type type) noexcept {
  return type == Payload_type::header_nack || type == Payload_type::announcement ||
         type == Payload_type::entity_status_response || type == Payload_type::power_mode_response;
}

std::optional<Header_nack> check(Header const& header, std::size_t available, std::uint32_t max_data_size) noexcept {
  if (std::optional<Header_nack> const refused = check_header(header, Transport::udp, max_data_size)) {
    return refused;
  }
  return header.length > available ? Header_nack::invalid_payload_length : check_length(header);
}

template <std::size_t Size>
bool same(std::array<std::uint8_t, Size> const& own, Byte_view asked) noexcept {
  return std::equal(own.begin(), own.end(), asked.begin(), asked.end());
}

}  // namespace

std::vector<Udp_entity::Answer> Udp_entity::answers(Byte_view datagram, Cast cast) const {
  std::vector<Answer> result;
  for (std::size_t messages = 0; messages < max_messages; ++messages) {
    std::optional<Header> const header = read_header(datagram);
    if (!header) {
      break;
    }
    Byte_view const rest = datagram.after(Header::size);
    std::optional<Header_nack> const refused = check(*header, rest.size(), config_.max_data_size);
    if (refused) {
      bool const silent =
          cast == Cast::broadcast || (refused != Header_nack::incorrect_pattern && is_said_by_entities(header->type));
      if (!silent) {
        result.push_back({header_nack(answering_version(header->version, config_.protocol_version), *refused), false});
      }
      return result;
    }
    if (std::optional<Answer> given = answer(*header, rest.first(header->length))) {
      result.push_back(std::move(*given));
    }
    datagram = rest.after(header->length);
  }
  return result;
}

std::optional<Udp_entity::Answer> Udp_entity::answer(Header const& header, Byte_view payload) const {
  std::uint8_t const version = answering_version(header.version, config_.protocol_version);
  bool const meant =
      (header.type == Payload_type::identification_request) ||
      (header.type == Payload_type::identification_request_by_eid && same(config_.identity.eid, payload)) ||
      (header.type == Payload_type::identification_request_by_vin && same(config_.identity.vin, payload));
  if (meant) {
    return Answer{doip::announcement(version, config_.identity), true};
  }
  if (header.type == Payload_type::entity_status_request) {
    return entity_status(version);
  }
  if (header.type == Payload_type::power_mode_request) {
    return Answer{power_mode_response(version, config_.power_mode), false};
  }
  return std::nullopt;
}

Udp_entity::Answer Udp_entity::entity_status(std::uint8_t version) const {
  // The reserve socket, with which one tester too many is examined, is not counted on either side.
  auto const open = static_cast<std::uint8_t>(std::min<std::size_t>(open_sockets_(), config_.max_sockets));
  return {entity_status_response(version, {config_.max_sockets, open, config_.max_data_size}), false};
}

}  // namespace machine::diagnostic_manager::doip
