// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_RECORD_CODEC_H
#define PLATFORM_SRC_PER_RECORD_CODEC_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "ara/per/kvs_type.h"

namespace linux_platform::per {

/// How a value stands in the store:
///
///   record  = type (1 byte) crc (4 bytes) content
///   type    = 1 binary | 2 text | 3 signed | 4 unsigned | 5 floating point | 6 boolean
///   content = the bytes | the bytes | 8 bytes | 8 bytes | 8 bytes IEEE 754 | 1 byte, 0 or 1
///
/// Integers are little-endian. The CRC-32 covers key length (8 bytes), key, type and content: a record that turns up
/// under another key is as damaged as one with a flipped bit.
struct Record_codec {
  static constexpr std::size_t header_size = 5;

  /// ExceptionLogicError when `value` is itself a damaged value; the text names the key.
  static std::vector<std::uint8_t> encode(std::string_view key, ara::per::KvsType const& value);
  /// The value, or what is wrong with the record.
  static std::variant<ara::per::KvsType, std::string> decode(std::string_view key, std::uint8_t const* record,
                                                             std::size_t size);
  /// Bytes of a value's content as they stand in a record; 0 for a damaged value.
  static std::size_t content_size(ara::per::KvsType const& value);
};

}  // namespace linux_platform::per

#endif
