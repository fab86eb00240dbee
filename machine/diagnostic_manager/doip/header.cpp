// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/doip/header.h"

#include <algorithm>
#include <array>
#include <limits>

#include "machine/diagnostic_manager/bytes/byte_reader.h"

namespace machine::diagnostic_manager::doip {
namespace {

constexpr std::uint32_t unlimited = std::numeric_limits<std::uint32_t>::max();

/// What is understood, over which transport, and the one or two lengths (or the least and the greatest) it may have.
struct Rule {
  Payload_type type;
  Transport transport;
  std::uint32_t shortest;
  std::uint32_t longest;
  bool range;
};

constexpr std::array<Rule, 8> rules{{
    {Payload_type::identification_request, Transport::udp, 0, 0, false},
    {Payload_type::identification_request_by_eid, Transport::udp, 6, 6, false},
    {Payload_type::identification_request_by_vin, Transport::udp, 17, 17, false},
    {Payload_type::entity_status_request, Transport::udp, 0, 0, false},
    {Payload_type::power_mode_request, Transport::udp, 0, 0, false},
    {Payload_type::routing_activation_request, Transport::tcp, 7, 11, false},
    {Payload_type::alive_check_response, Transport::tcp, 2, 2, false},
    {Payload_type::diagnostic_message, Transport::tcp, 5, unlimited, true},
}};

Rule const* rule_of(Payload_type type) noexcept {
  auto const* found = std::find_if(rules.begin(), rules.end(), [type](Rule const& rule) { return rule.type == type; });
  return found == rules.end() ? nullptr : found;
}

bool asks_for_identification(Payload_type type) noexcept {
  return type == Payload_type::identification_request || type == Payload_type::identification_request_by_eid ||
         type == Payload_type::identification_request_by_vin;
}

}  // namespace

std::optional<Header> read_header(Byte_view bytes) noexcept {
  Byte_reader reader(bytes);
  Header header;
  header.version = reader.u8();
  header.inverse_version = reader.u8();
  header.type = static_cast<Payload_type>(reader.u16());
  header.length = reader.u32();
  return reader.ok() ? std::optional(header) : std::nullopt;
}

std::optional<Header_nack> check_header(Header const& header, Transport transport,
                                        std::uint32_t max_data_size) noexcept {
  bool const spoken = header.version == version_2012 || header.version == version_2019 ||
                      (header.version == version_any && asks_for_identification(header.type));
  if (!spoken || header.inverse_version != (header.version ^ 0xFFU)) {
    return Header_nack::incorrect_pattern;
  }
  Rule const* const rule = rule_of(header.type);
  if (rule == nullptr || rule->transport != transport) {
    return Header_nack::unknown_payload_type;
  }
  if (header.length > max_data_size) {
    return Header_nack::message_too_large;
  }
  return std::nullopt;
}

std::optional<Header_nack> check_length(Header const& header) noexcept {
  Rule const* const rule = rule_of(header.type);
  if (rule == nullptr) {
    return Header_nack::unknown_payload_type;
  }
  bool const fits = rule->range ? header.length >= rule->shortest && header.length <= rule->longest
                                : header.length == rule->shortest || header.length == rule->longest;
  return fits ? std::nullopt : std::optional(Header_nack::invalid_payload_length);
}

std::uint8_t answering_version(std::uint8_t version, std::uint8_t own) noexcept {
  return version == version_2012 || version == version_2019 ? version : own;
}

}  // namespace machine::diagnostic_manager::doip
