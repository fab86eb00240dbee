// SPDX-License-Identifier: Apache-2.0
#include "tarn/com/cpp_binding/deserializer.h"

#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>

#include "platform/src/com/serializer/texts.h"
#include "platform/src/com/serializer/utf8.h"

namespace tarn::com::cpp_binding {

namespace texts = linux_platform::com::texts;

namespace {

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
// Written so that the size is known to the compiler, which then calls nothing.
bool starts_with_mark(std::string_view text) {
  return text.size() >= byte_order_mark.size() &&
         std::memcmp(text.data(), byte_order_mark.data(), byte_order_mark.size()) == 0;
}

}  // namespace

std::string Deserializer::read_string() {
  std::size_t const end = end_of(read_length(format_.string_length_bytes));
  std::string_view characters(reinterpret_cast<char const*>(payload_ + position_), end - position_);
  position_ = end;

  bool const marked = starts_with_mark(characters);
  bool const terminated = !characters.empty() && characters.back() == '\0';
  if (format_.strings == String_encoding::utf8_bom && !(marked && terminated)) {
    failed_ = true;
    throw std::invalid_argument(texts::string_without_bom);
  }
  // Where plain strings are agreed, a sender that marks or terminates them all the same is understood.
  characters.remove_prefix(marked ? byte_order_mark.size() : 0);
  characters.remove_suffix(terminated ? 1 : 0);
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

void Deserializer::fail_beyond_end() {
  failed_ = true;
  throw std::out_of_range(texts::beyond_end);
}

void Deserializer::fail_invalid_length_field() {
  failed_ = true;
  throw std::invalid_argument(texts::invalid_length_field);
}

void Deserializer::fail_invalid_end(std::size_t length) {
  failed_ = true;
  if (length > std::numeric_limits<std::size_t>::max() - position_) {
    throw std::overflow_error(texts::size_overflow);
  }
  throw std::out_of_range(texts::invalid_end);
}

void Deserializer::fail_record_smaller_than_expected() {
  failed_ = true;
  throw std::out_of_range(texts::record_smaller_than_expected);
}

void Deserializer::fail_record_too_small() {
  failed_ = true;
  throw std::out_of_range(texts::record_too_small);
}

}  // namespace tarn::com::cpp_binding
