// SPDX-License-Identifier: Apache-2.0
#include "tarn/com/cpp_binding/serializer.h"

#include <algorithm>
#include <array>
#include <limits>
#include <stdexcept>

#include "platform/src/com/serializer/texts.h"

namespace tarn::com::cpp_binding {

namespace texts = linux_platform::com::texts;

namespace {

constexpr std::array<std::uint8_t, 3> byte_order_mark{0xEF, 0xBB, 0xBF};

// The greatest length that a field of this size can say.
std::uint64_t greatest_length(std::size_t field_bytes) {
  switch (field_bytes) {
    case 1:
      return std::numeric_limits<std::uint8_t>::max();
    case 2:
      return std::numeric_limits<std::uint16_t>::max();
    case 4:
      return std::numeric_limits<std::uint32_t>::max();
    default:
      throw std::invalid_argument(texts::invalid_length_field);
  }
}

void require_fit(std::uint64_t length, std::size_t field_bytes) {
  if (length > greatest_length(field_bytes)) {
    throw std::overflow_error(texts::record_too_long);
  }
}

// The low bytes of a length that fits.
void put_length(std::uint8_t* field, std::uint64_t length, std::size_t field_bytes) {
  for (std::size_t i = field_bytes; i > 0; --i) {
    field[i - 1] = static_cast<std::uint8_t>(length & 0xFFU);
    length >>= 8U;
  }
}

}  // namespace

void Serializer::write_string(std::string_view text) {
  bool const marked = format_.strings == String_encoding::utf8_bom;
  std::size_t const length = text.size() + (marked ? byte_order_mark.size() + 1 : 0);
  require_fit(length, format_.string_length_bytes);
  std::uint8_t* at = append(format_.string_length_bytes + length);
  put_length(at, length, format_.string_length_bytes);
  at += format_.string_length_bytes;
  if (marked) {
    at = std::copy(byte_order_mark.begin(), byte_order_mark.end(), at);
  }
  std::copy(text.begin(), text.end(), at);  // a terminator behind it is there already
}

void Serializer::write_bytes(std::vector<std::uint8_t> const& bytes) {
  if (format_.array_length_bytes == 0) {
    throw std::invalid_argument(texts::vector_without_length);
  }
  require_fit(bytes.size(), format_.array_length_bytes);
  put_length(append(format_.array_length_bytes), bytes.size(), format_.array_length_bytes);
  out_.insert(out_.end(), bytes.begin(), bytes.end());
}

// So many zero bytes more; where they begin.
std::uint8_t* Serializer::append(std::size_t bytes) {
  std::size_t const begin = out_.size();
  out_.resize(begin + bytes);
  return out_.data() + begin;
}

std::size_t Serializer::begin_record() {
  std::size_t const field = out_.size();
  out_.resize(field + format_.record_length_bytes);
  return field;
}

std::size_t Serializer::begin_array() {
  if (format_.array_length_bytes == 0) {
    throw std::invalid_argument(texts::vector_without_length);
  }
  std::size_t const field = out_.size();
  out_.resize(field + format_.array_length_bytes);
  return field;
}

// Writes the number of bytes behind the length field that stands at `field` into it.
void Serializer::patch_length(std::size_t field, std::size_t field_bytes) {
  if (field_bytes == 0) {
    return;
  }
  std::size_t const length = out_.size() - field - field_bytes;
  require_fit(length, field_bytes);
  put_length(out_.data() + field, length, field_bytes);
}

}  // namespace tarn::com::cpp_binding
