// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/stats/entry_codec.h"

namespace orvel::flashwatch::diagnostics {
namespace {

constexpr std::size_t first_use_offset = 0;
constexpr std::size_t soft_offset = 8;
constexpr std::size_t hard_offset = 16;
constexpr std::size_t years_offset = 24;

template <typename Unsigned>
void put(Entry_bytes& bytes, std::size_t offset, Unsigned value) {
  for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
    bytes.at(offset + i) = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

template <typename Unsigned>
Unsigned get(Entry_bytes const& bytes, std::size_t offset) {
  Unsigned value = 0;
  for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
    value |= static_cast<Unsigned>(bytes.at(offset + i)) << (8 * i);
  }
  return value;
}

}  // namespace

Entry_bytes encode(Persistent_storage_if::Entry const& entry) {
  Entry_bytes bytes{};
  put(bytes, first_use_offset, static_cast<std::uint64_t>(entry.time_of_first_use));
  put(bytes, soft_offset, entry.limits.soft);
  put(bytes, hard_offset, entry.limits.hard);
  put(bytes, years_offset, entry.years_in_use);
  return bytes;
}

Persistent_storage_if::Entry decode(Entry_bytes const& bytes) {
  Persistent_storage_if::Entry entry;
  entry.time_of_first_use = static_cast<std::int64_t>(get<std::uint64_t>(bytes, first_use_offset));
  entry.limits.soft = get<std::uint64_t>(bytes, soft_offset);
  entry.limits.hard = get<std::uint64_t>(bytes, hard_offset);
  entry.years_in_use = get<std::uint32_t>(bytes, years_offset);
  return entry;
}

}  // namespace orvel::flashwatch::diagnostics
