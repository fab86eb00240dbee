// SPDX-License-Identifier: Apache-2.0
#ifndef TARN_COM_CPP_BINDING_SERIALIZER_H
#define TARN_COM_CPP_BINDING_SERIALIZER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "tarn/com/cpp_binding/wire_format.h"

namespace tarn::com::cpp_binding {

/// Appends values to a SOME/IP payload: big endian, nothing aligned.
///
/// Throws std::overflow_error when something is longer than its length field can say, std::invalid_argument when the
/// deployment gives a vector no length field or a field of a size that does not exist.
class Serializer {
 public:
  /// Appends to `out`, which must outlive the serializer.
  Serializer(std::vector<std::uint8_t>& out, Wire_format const& format) noexcept : out_(out), format_(format) {}

  void write_u8(std::uint8_t value) { out_.push_back(value); }
  void write_u16(std::uint16_t value) { write_unsigned(value); }
  void write_u32(std::uint32_t value) { write_unsigned(value); }
  void write_u64(std::uint64_t value) { write_unsigned(value); }

  /// A text in the encoding of the deployment, behind its length field.
  void write_string(std::string_view text);

  /// A vector of bytes behind its length field.
  void write_bytes(std::vector<std::uint8_t> const& bytes);

  /// A record behind its length field: whatever `write_members` writes.
  template <typename Write_members>
  void write_record(Write_members&& write_members) {
    std::size_t const field = begin_record();
    write_members();
    patch_length(field, format_.record_length_bytes);
  }

  /// An array or a map behind its length field: whatever `write_elements` writes.
  template <typename Write_elements>
  void write_array(Write_elements&& write_elements) {
    std::size_t const field = begin_array();
    write_elements();
    patch_length(field, format_.array_length_bytes);
  }

 private:
  template <typename Unsigned>
  void write_unsigned(Unsigned value) {
    auto const bytes = big_endian(value, std::make_index_sequence<sizeof value>());
    out_.insert(out_.end(), bytes.begin(), bytes.end());
  }
  // Compilers make one store of it, but not of a loop.
  template <typename Unsigned, std::size_t... i>
  static std::array<std::uint8_t, sizeof(Unsigned)> big_endian(Unsigned value, std::index_sequence<i...>) noexcept {
    return {static_cast<std::uint8_t>(value >> 8U * (sizeof value - 1 - i))...};
  }

  std::uint8_t* append(std::size_t bytes);
  std::size_t begin_record();
  std::size_t begin_array();
  void patch_length(std::size_t field, std::size_t field_bytes);

  std::vector<std::uint8_t>& out_;
  Wire_format format_;
};

}  // namespace tarn::com::cpp_binding

#endif
