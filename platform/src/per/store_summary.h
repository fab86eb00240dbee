// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_STORE_SUMMARY_H
#define PLATFORM_SRC_PER_STORE_SUMMARY_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/src/per/usage.h"

namespace linux_platform::per {

/// What a store says of itself, in one record that every commit rewrites together with the data: its identity, what it
/// was used for until the commit before, and a digest of its keys. The digest is what finds a key that was lost or
/// changed on the medium, which no checksum inside a record can.
///
///   record = store_id read write setvalue keys digest (8 bytes each) crc (4 bytes), all little-endian
///
/// The CRC-32 covers what stands before it.
struct Store_summary {
  /// Drawn at random when the store is made; never 0.
  std::uint64_t store_id = 0;
  Usage total;
  std::uint64_t keys = 0;
  /// The sum of the keys' hashes, modulo 2^64.
  std::uint64_t digest = 0;

  void add_key(std::string_view key) noexcept;
  void remove_key(std::string_view key) noexcept;
  void remove_all_keys() noexcept { keys = digest = 0; }

  std::vector<std::uint8_t> encode() const;
  /// Nothing when the record is damaged.
  static std::optional<Store_summary> decode(std::uint8_t const* record, std::size_t size);
};

}  // namespace linux_platform::per

#endif
