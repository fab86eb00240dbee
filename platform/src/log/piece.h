// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_PIECE_H
#define PLATFORM_SRC_LOG_PIECE_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>

namespace linux_platform::log {

/// One piece of a record with the exact type it was inserted with. A text points into the record.
using Piece = std::variant<bool, std::int8_t, std::int16_t, std::int32_t, std::int64_t, std::uint8_t, std::uint16_t,
                           std::uint32_t, std::uint64_t, float, double, std::string_view>;

/// The type info word of a DLT verbose argument (AUTOSAR DLT protocol, "Type Info"). The pieces of a record are encoded
/// as the arguments of a DLT message, so that they reach the daemon without being written a second time: the type info,
/// then the value, all in the machine's byte order; a text is its length with a final NUL (16 bits), its bytes, the
/// NUL.
namespace type_info {
constexpr std::uint32_t size_8 = 0x1;
constexpr std::uint32_t size_16 = 0x2;
constexpr std::uint32_t size_32 = 0x3;
constexpr std::uint32_t size_64 = 0x4;
constexpr std::uint32_t boolean = 0x10 | size_8;
constexpr std::uint32_t signed_integer = 0x20;
constexpr std::uint32_t unsigned_integer = 0x40;
constexpr std::uint32_t floating_point = 0x80;
constexpr std::uint32_t utf8_text = 0x200 | 0x8000;
}  // namespace type_info

/// Bytes of an encoded text beside its own: type info, length, final NUL.
constexpr std::size_t text_overhead = sizeof(std::uint32_t) + sizeof(std::uint16_t) + 1;

/// Reads the encoded pieces of a record in order.
class Piece_reader {
 public:
  /// `encoded` outlives the reader and the texts it gives.
  explicit Piece_reader(std::string_view encoded) noexcept : rest_(encoded) {}

  /// The next piece, or nothing at the end and for ever after bytes that are no piece.
  std::optional<Piece> next() noexcept;

 private:
  template <typename Value>
  std::optional<Value> take() noexcept;
  template <typename Value>
  std::optional<Piece> take_piece() noexcept;
  std::optional<Piece> take_text() noexcept;
  std::optional<Piece> take_value(std::uint32_t type) noexcept;

  std::string_view rest_;
};

}  // namespace linux_platform::log

#endif
