// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_DOIP_UDP_ENTITY_H
#define MACHINE_DIAGNOSTIC_MANAGER_DOIP_UDP_ENTITY_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "machine/diagnostic_manager/bytes/byte_view.h"
#include "machine/diagnostic_manager/doip/header.h"
#include "machine/diagnostic_manager/doip/messages.h"

namespace machine::diagnostic_manager::doip {

/// What this entity answers to datagrams. Holds no state of its own.
class Udp_entity {
 public:
  struct Config {
    Identity identity;
    Power_mode power_mode = Power_mode::ready;
    std::uint8_t protocol_version = version_2012;
    std::uint8_t max_sockets = 4;
    std::uint32_t max_data_size = 4096;
  };

  /// How a datagram came: a broadcast that cannot be answered is nobody's fault, so it is never refused.
  enum class Cast : std::uint8_t { unicast, broadcast };

  struct Answer {
    Bytes message;
    /// To be sent after a random part of A_DoIP_Announce_Wait, since all entities hear the same request.
    bool after_announce_wait = false;
  };

  /// What a datagram holds behind so many messages is not read: testers send one, and a datagram has room for
  /// thousands.
  static constexpr std::size_t max_messages = 4;

  /// `open_sockets` gives the number of connections now.
  Udp_entity(Config const& config, std::function<std::size_t()> open_sockets)
      : config_(config), open_sockets_(std::move(open_sockets)) {}

  /// The answers to the first max_messages messages of a datagram, in order. A refused message ends the datagram; so
  /// does one that claims more bytes than came (refused) and a rest too short for a header (ignored).
  std::vector<Answer> answers(Byte_view datagram, Cast cast) const;

  Bytes announcement() const { return doip::announcement(config_.protocol_version, config_.identity); }

 private:
  std::optional<Answer> answer(Header const& header, Byte_view payload) const;
  Answer entity_status(std::uint8_t version) const;

  Config config_;
  std::function<std::size_t()> open_sockets_;
};

}  // namespace machine::diagnostic_manager::doip

#endif
