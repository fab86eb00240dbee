// SPDX-License-Identifier: Apache-2.0
#include "tarn/com/cpp_binding/serializer.h"

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

std::uint8_t byte_of(std::uint64_t value, std::size_t bytes_below) {
  return static_cast<std::uint8_t>((value >> (8U * bytes_below)) & 0xFFU);
}

}  // namespace

void Serializer::write_string(std::string_view text) {
  bool const marked = format_.strings == String_encoding::utf8_bom;
  std::size_t const length = text.size() + (marked ? byte_order_mark.size() + 1 : 0);
  require_fit(length, format_.string_length_bytes);
  write_unsigned(length, format_.string_length_bytes);
  if (marked) {
    out_.insert(out_.end(), byte_order_mark.begin(), byte_order_mark.end());
  }
  out_.insert(out_.end(), text.begin(), text.end());
  if (marked) {
    out_.push_back(0);
  }
}

void Serializer::write_bytes(std::vector<std::uint8_t> const& bytes) {
  if (format_.array_length_bytes == 0) {
    throw std::invalid_argument(texts::vector_without_length);
  }
  require_fit(bytes.size(), format_.array_length_bytes);
  write_unsigned(bytes.size(), format_.array_length_bytes);
  out_.insert(out_.end(), bytes.begin(), bytes.end());
}

void Serializer::write_unsigned(std::uint64_t value, std::size_t bytes) {
  std::array<std::uint8_t, sizeof value> big_endian{};
  for (std::size_t i = 0; i < big_endian.size(); ++i) {
    big_endian.at(i) = byte_of(value, big_endian.size() - 1 - i);
  }
  out_.insert(out_.end(), big_endian.end() - static_cast<std::ptrdiff_t>(bytes), big_endian.end());
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
  for (std::size_t i = 0; i < field_bytes; ++i) {
    out_[field + i] = byte_of(length, field_bytes - 1 - i);
  }
}

}  // namespace tarn::com::cpp_binding
