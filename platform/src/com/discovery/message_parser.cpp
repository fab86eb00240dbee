// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "platform/src/com/discovery/byte_reader.h"
#include "platform/src/com/discovery/message.h"
#include "platform/src/com/discovery/message_layout.h"

namespace linux_platform::com::discovery {
namespace {

struct Option {
  std::uint8_t type = 0;
  std::optional<Endpoint_option> endpoint;  ///< of the two IPv4 kinds, when their length is right
};

struct Options {
  std::vector<Option> all;
  bool intact = false;
};

Option parse_option(std::uint8_t type, Byte_reader body) {
  Option option{type, {}};
  bool const has_endpoint = type == ipv4_endpoint || type == ipv4_discovery_endpoint;
  if (has_endpoint && body.remaining() == ipv4_endpoint_length) {
    body.u8();
    Endpoint_option endpoint;
    endpoint.address = boost::asio::ip::address_v4{body.u32()};
    body.u8();
    endpoint.protocol = body.u8();
    endpoint.port = body.u16();
    option.endpoint = endpoint;
  }
  return option;
}

Options parse_options(Byte_reader& reader) {
  Options options;
  auto const length = reader.u32();
  auto bytes = reader.part(length);
  if (!reader.ok()) {
    return options;
  }
  while (bytes.remaining() > 0) {
    auto const option_length = bytes.u16();
    auto const type = bytes.u8();
    auto const body = bytes.part(option_length);
    if (!bytes.ok() || option_length == 0) {
      return Options{};
    }
    options.all.push_back(parse_option(type, body));
  }
  options.intact = true;
  return options;
}

// Adds one run of options to the entry; options of other kinds, and repeats, are passed over.
void refer(Entry& entry, Options const& options, std::size_t index, std::size_t count) {
  if (count == 0) {
    return;
  }
  if (!options.intact || index + count > options.all.size()) {
    entry.options_valid = false;
    return;
  }
  for (auto i = index; i < index + count; ++i) {
    auto const& option = options.all[i];
    if (option.type != ipv4_endpoint) {
      continue;
    }
    if (!option.endpoint) {
      entry.options_valid = false;
    } else if (std::find(entry.endpoints.begin(), entry.endpoints.end(), *option.endpoint) == entry.endpoints.end()) {
      entry.endpoints.push_back(*option.endpoint);
    }
  }
}

bool known(std::uint8_t type) noexcept {
  return type == static_cast<std::uint8_t>(Entry_type::find) || type == static_cast<std::uint8_t>(Entry_type::offer) ||
         type == static_cast<std::uint8_t>(Entry_type::subscribe) ||
         type == static_cast<std::uint8_t>(Entry_type::subscribe_ack);
}

std::optional<Entry> parse_entry(Byte_reader bytes, Options const& options) {
  auto const type = bytes.u8();
  if (!known(type)) {
    return std::nullopt;
  }
  Entry entry;
  entry.type = static_cast<Entry_type>(type);
  auto const first_index = bytes.u8();
  auto const second_index = bytes.u8();
  auto const counts = bytes.u8();
  entry.key.service = bytes.u16();
  entry.key.instance = bytes.u16();
  entry.key.major = bytes.u8();
  entry.ttl = bytes.u24();
  if (entry.type == Entry_type::find || entry.type == Entry_type::offer) {
    entry.key.minor = bytes.u32();
  } else {
    bytes.u8();
    entry.counter = bytes.u8() & 0x0FU;
    entry.eventgroup = bytes.u16();
  }
  refer(entry, options, first_index, counts >> 4U);
  refer(entry, options, second_index, counts & 0x0FU);
  return entry;
}

}  // namespace

std::optional<Message> parse_message(std::uint8_t const* data, std::size_t size) {
  Byte_reader datagram{data, size};
  if (datagram.u32() != message_id) {
    return std::nullopt;
  }
  auto const length = datagram.u32();
  auto reader = datagram.part(length);
  if (!reader.ok() || length < length_without_arrays) {
    return std::nullopt;
  }
  reader.u16();  // client id: 0 by the rules, but some senders put theirs
  Message message;
  message.session = reader.u16();
  if (reader.u32() != versions_type_and_return_code) {
    return std::nullopt;
  }
  message.reboot = (reader.u8() & reboot_flag) != 0;
  reader.u24();
  auto const entries_length = reader.u32();
  auto entries = reader.part(entries_length);
  if (!entries.ok() || entries_length % entry_size != 0 || entries_length / entry_size > max_entries_received) {
    return std::nullopt;
  }
  auto const options = parse_options(reader);
  if (!options.all.empty() && options.all.front().type == ipv4_discovery_endpoint) {
    message.sender = options.all.front().endpoint;
  }
  while (entries.remaining() > 0) {
    if (auto entry = parse_entry(entries.part(entry_size), options)) {
      message.entries.push_back(std::move(*entry));
    }
  }
  return message;
}

}  // namespace linux_platform::com::discovery
