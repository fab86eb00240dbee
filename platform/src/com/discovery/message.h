// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_MESSAGE_H
#define PLATFORM_SRC_COM_DISCOVERY_MESSAGE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include <boost/asio/ip/address_v4.hpp>

#include "platform/src/com/discovery/service_key.h"

namespace linux_platform::com::discovery {

enum class Entry_type : std::uint8_t { find = 0x00, offer = 0x01, subscribe = 0x06, subscribe_ack = 0x07 };

constexpr std::uint32_t ttl_withdrawn = 0;  ///< makes an offer a stop, an acknowledgement a refusal
constexpr std::uint32_t ttl_until_reboot = 0xFFFFFF;

constexpr std::uint8_t protocol_tcp = 0x06;
constexpr std::uint8_t protocol_udp = 0x11;

/// An IPv4 endpoint option as it was received: any protocol, any address, any port.
struct Endpoint_option {
  boost::asio::ip::address_v4 address;
  std::uint8_t protocol = 0;
  std::uint16_t port = 0;

  friend bool operator==(Endpoint_option const& a, Endpoint_option const& b) noexcept {
    return a.address == b.address && a.protocol == b.protocol && a.port == b.port;
  }
  friend bool operator!=(Endpoint_option const& a, Endpoint_option const& b) noexcept { return !(a == b); }
};

struct Entry {
  Entry_type type = Entry_type::find;
  Service_key key;               ///< minor only in a find or an offer
  std::uint32_t ttl = 0;         ///< seconds, 24 bits
  std::uint16_t eventgroup = 0;  ///< subscribe and subscribe_ack only, as is counter (4 bits)
  std::uint8_t counter = 0;
  std::vector<Endpoint_option> endpoints;  ///< the IPv4 endpoints among the options it refers to, without repeats
  bool options_valid = true;               ///< false: it refers to options that are not there or cannot be read
};

struct Message {
  std::uint16_t session = 0;
  bool reboot = false;
  std::vector<Entry> entries;
  /// The sender's own discovery endpoint, in place of the datagram's source.
  std::optional<Endpoint_option> sender;
};

/// A datagram with more entries is ignored.
constexpr std::size_t max_entries_received = 512;
/// More entries than this go out as several messages, each of which fits an Ethernet frame with its options.
constexpr std::size_t max_entries_sent = 48;

/// Reads one datagram. Nothing for what is no discovery message or is damaged in its header or its entries; a damaged
/// options array only spoils the entries that refer to it. Entries of unknown type are left out.
std::optional<Message> parse_message(std::uint8_t const* data, std::size_t size);

/// The bytes of a message. At most max_entries_sent entries; the unicast flag is always set. `sender` and
/// `options_valid` play no part.
std::vector<std::uint8_t> build_message(Message const& message);

}  // namespace linux_platform::com::discovery

#endif
