// SPDX-License-Identifier: Apache-2.0
#include "tarn/com/cpp_binding/deserializer.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string_view>

#include "platform/src/com/serializer/texts.h"
#include "platform/src/com/serializer/utf8.h"

namespace tarn::com::cpp_binding {

namespace texts = linux_platform::com::texts;

namespace {

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
constexpr std::string_view terminator{"\0", 1};
// A record without a length field ends where its members end.
constexpr std::size_t open_end = std::numeric_limits<std::size_t>::max();

bool starts_with(std::string_view text, std::string_view start) { return text.substr(0, start.size()) == start; }

bool ends_with(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

}  // namespace

std::string Deserializer::read_string() {
  std::size_t const end = end_of(read_length(format_.string_length_bytes));
  std::string_view characters(reinterpret_cast<char const*>(payload_ + position_), end - position_);
  position_ = end;

  bool const marked = starts_with(characters, byte_order_mark);
  bool const terminated = ends_with(characters, terminator);
  if (format_.strings == String_encoding::utf8_bom && !(marked && terminated)) {
    failed_ = true;
    throw std::invalid_argument(texts::string_without_bom);
  }
  // Where plain strings are agreed, a sender that marks or terminates them all the same is understood.
  characters.remove_prefix(marked ? byte_order_mark.size() : 0);
  characters.remove_suffix(terminated ? terminator.size() : 0);
  if (!linux_platform::com::is_utf8(characters)) {
    failed_ = true;
    throw std::invalid_argument(texts::string_not_utf8);
  }
  return std::string(characters);
}

std::vector<std::uint8_t> Deserializer::read_bytes() {
  std::size_t const end = end_of(read_length(format_.array_length_bytes));
  std::vector<std::uint8_t> bytes(payload_ + position_, payload_ + end);
  position_ = end;
  return bytes;
}

std::size_t Deserializer::read_length(std::size_t field_bytes) {
  switch (field_bytes) {
    case 1:
      return read_u8();
    case 2:
      return read_u16();
    case 4:
      return read_u32();
    default:
      failed_ = true;
      throw std::invalid_argument(texts::invalid_length_field);
  }
}

// The position behind the next `length` bytes.
std::size_t Deserializer::end_of(std::size_t length) {
  if (length > std::numeric_limits<std::size_t>::max() - position_) {
    failed_ = true;
    throw std::overflow_error(texts::size_overflow);
  }
  if (position_ + length > size_) {
    failed_ = true;
    throw std::out_of_range(texts::invalid_end);
  }
  return position_ + length;
}

std::size_t Deserializer::begin_record() {
  if (format_.record_length_bytes == 0) {
    return open_end;
  }
  std::size_t const length = read_length(format_.record_length_bytes);
  if (length == 0) {
    failed_ = true;
    throw std::out_of_range(texts::record_smaller_than_expected);
  }
  return end_of(length);
}

void Deserializer::end_record(std::size_t end) {
  if (end == open_end) {
    return;
  }
  if (position_ > end) {
    failed_ = true;
    throw std::out_of_range(texts::record_too_small);
  }
  position_ = end;
}

std::size_t Deserializer::begin_array() { return end_of(read_length(format_.array_length_bytes)); }

void Deserializer::end_array(std::size_t end) {
  if (position_ != end) {
    failed_ = true;
    throw std::out_of_range(texts::record_too_small);
  }
}

void Deserializer::fail_beyond_end() {
  failed_ = true;
  throw std::out_of_range(texts::beyond_end);
}

}  // namespace tarn::com::cpp_binding
