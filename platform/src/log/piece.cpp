// SPDX-License-Identifier: Apache-2.0
#include "platform/src/log/piece.h"

#include <cstring>

namespace linux_platform::log {

template <typename Value>
std::optional<Value> Piece_reader::take() noexcept {
  if (rest_.size() < sizeof(Value)) {
    return std::nullopt;
  }
  Value value{};
  std::memcpy(&value, rest_.data(), sizeof(Value));
  rest_.remove_prefix(sizeof(Value));
  return value;
}

template <typename Value>
std::optional<Piece> Piece_reader::take_piece() noexcept {
  if (auto const value = take<Value>()) {
    return Piece(*value);
  }
  return std::nullopt;
}

std::optional<Piece> Piece_reader::take_text() noexcept {
  auto const length = take<std::uint16_t>();
  if (!length || *length == 0 || rest_.size() < *length) {
    return std::nullopt;
  }
  auto const text = rest_.substr(0, *length - 1U);
  rest_.remove_prefix(*length);
  return Piece(text);
}

std::optional<Piece> Piece_reader::take_value(std::uint32_t type) noexcept {
  namespace t = type_info;
  switch (type) {
    case t::boolean:
      if (auto const value = take<std::uint8_t>()) {
        return Piece(*value != 0);
      }
      return std::nullopt;
    case t::signed_integer | t::size_8:
      return take_piece<std::int8_t>();
    case t::signed_integer | t::size_16:
      return take_piece<std::int16_t>();
    case t::signed_integer | t::size_32:
      return take_piece<std::int32_t>();
    case t::signed_integer | t::size_64:
      return take_piece<std::int64_t>();
    case t::unsigned_integer | t::size_8:
      return take_piece<std::uint8_t>();
    case t::unsigned_integer | t::size_16:
      return take_piece<std::uint16_t>();
    case t::unsigned_integer | t::size_32:
      return take_piece<std::uint32_t>();
    case t::unsigned_integer | t::size_64:
      return take_piece<std::uint64_t>();
    case t::floating_point | t::size_32:
      return take_piece<float>();
    case t::floating_point | t::size_64:
      return take_piece<double>();
    case t::utf8_text:
      return take_text();
    default:
      return std::nullopt;
  }
}

std::optional<Piece> Piece_reader::next() noexcept {
  auto const type = take<std::uint32_t>();
  auto piece = type ? take_value(*type) : std::nullopt;
  if (!piece) {
    rest_ = {};
  }
  return piece;
}

}  // namespace linux_platform::log
