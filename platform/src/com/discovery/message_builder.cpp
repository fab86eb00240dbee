// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "platform/src/com/discovery/message.h"
#include "platform/src/com/discovery/message_layout.h"

namespace linux_platform::com::discovery {
namespace {

/// Appends big-endian numbers.
class Byte_writer final {
 public:
  explicit Byte_writer(std::size_t capacity) { bytes_.reserve(capacity); }

  void u8(std::uint32_t value) { number(value, 1); }
  void u16(std::uint32_t value) { number(value, 2); }
  void u24(std::uint32_t value) { number(value, 3); }
  void u32(std::uint32_t value) { number(value, 4); }
  std::vector<std::uint8_t> take() { return std::move(bytes_); }

 private:
  void number(std::uint32_t value, unsigned length) {
    for (auto left = length; left > 0; --left) {
      bytes_.push_back(static_cast<std::uint8_t>(value >> 8U * (left - 1)));
    }
  }

  std::vector<std::uint8_t> bytes_;
};

using Options = std::vector<Endpoint_option>;

// The options of all entries, each run once: services of one node mostly share nothing, but a repeat costs nothing.
struct Run {
  std::size_t index = 0;
  std::size_t count = 0;
};

Run place(Options& options, Options const& wanted) {
  if (wanted.empty()) {
    return {};
  }
  auto const there = std::search(options.begin(), options.end(), wanted.begin(), wanted.end());
  Run const run{static_cast<std::size_t>(there - options.begin()), wanted.size()};
  if (there == options.end()) {
    options.insert(options.end(), wanted.begin(), wanted.end());
  }
  return run;
}

void write_entry(Byte_writer& writer, Entry const& entry, Run const& run) {
  writer.u8(static_cast<std::uint8_t>(entry.type));
  writer.u8(static_cast<std::uint8_t>(run.index));
  writer.u8(0);
  writer.u8(static_cast<std::uint8_t>(run.count << 4U));
  writer.u16(entry.key.service);
  writer.u16(entry.key.instance);
  writer.u8(entry.key.major);
  writer.u24(entry.ttl);
  if (entry.type == Entry_type::find || entry.type == Entry_type::offer) {
    writer.u32(entry.key.minor);
  } else {
    writer.u8(0);
    writer.u8(entry.counter);
    writer.u16(entry.eventgroup);
  }
}

void write_option(Byte_writer& writer, Endpoint_option const& option) {
  writer.u16(ipv4_endpoint_length);
  writer.u8(ipv4_endpoint);
  writer.u8(0);
  writer.u32(option.address.to_uint());
  writer.u8(0);
  writer.u8(option.protocol);
  writer.u16(option.port);
}

}  // namespace

std::vector<std::uint8_t> build_message(Message const& message) {
  Options options;
  std::vector<Run> runs;
  for (auto const& entry : message.entries) {
    runs.push_back(place(options, entry.endpoints));
  }
  auto const entries_length = static_cast<std::uint32_t>(message.entries.size() * entry_size);
  auto const options_length = static_cast<std::uint32_t>(options.size() * ipv4_endpoint_size);
  auto const length = length_without_arrays + entries_length + options_length;
  Byte_writer writer{length + length_starts_behind};
  writer.u32(message_id);
  writer.u32(length);
  writer.u16(0);
  writer.u16(message.session);
  writer.u32(versions_type_and_return_code);
  writer.u8(message.reboot ? reboot_flag | unicast_flag : unicast_flag);
  writer.u24(0);
  writer.u32(entries_length);
  for (std::size_t i = 0; i < runs.size(); ++i) {
    write_entry(writer, message.entries[i], runs[i]);
  }
  writer.u32(options_length);
  for (auto const& option : options) {
    write_option(writer, option);
  }
  return writer.take();
}

}  // namespace linux_platform::com::discovery
