// SPDX-License-Identifier: Apache-2.0
#ifndef TARN_COM_CPP_BINDING_DESERIALIZER_H
#define TARN_COM_CPP_BINDING_DESERIALIZER_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tarn/com/cpp_binding/wire_format.h"

namespace tarn::com::cpp_binding {

/// Reads values from a SOME/IP payload: big endian, nothing aligned, every bound checked. Bytes behind the last value
/// read are nobody's business: a newer sender may append parameters.
///
/// Reading throws std::out_of_range when the payload ends too early or a length contradicts what it covers,
/// std::overflow_error when a length exceeds what can be addressed, and std::invalid_argument for a text that is not in
/// the agreed encoding or a length field size that the deployment cannot mean. Whoever catches one can tell it from
/// other exceptions by failed().
class Deserializer {
 public:
  /// The payload must outlive the deserializer.
  Deserializer(std::uint8_t const* payload, std::size_t size, Wire_format const& format) noexcept
      : payload_(payload), size_(size), format_(format) {}

  std::uint8_t read_u8() { return read_unsigned<std::uint8_t>(); }
  std::uint16_t read_u16() { return read_unsigned<std::uint16_t>(); }
  std::uint32_t read_u32() { return read_unsigned<std::uint32_t>(); }
  std::uint64_t read_u64() { return read_unsigned<std::uint64_t>(); }

  /// A text behind its length field, without byte order mark and terminator.
  std::string read_string();

  /// A vector of bytes behind its length field.
  std::vector<std::uint8_t> read_bytes();

  /// A record behind its length field. `read_members` reads the members this side knows; what the sender appended is
  /// skipped; members that reach beyond the length are an error.
  template <typename Read_members>
  void read_record(Read_members&& read_members) {
    std::size_t const end = begin_record();
    read_members();
    end_record(end);
  }

  /// An array or a map behind its length field, which counts bytes: `read_element` is called until they are used up.
  template <typename Read_element>
  void read_array(Read_element&& read_element) {
    std::size_t const end = begin_array();
    while (position_ < end) {
      read_element();
    }
    end_array(end);
  }

  /// Whether a reading operation has thrown.
  bool failed() const noexcept { return failed_; }

 private:
  void require(std::size_t bytes) {
    if (bytes > size_ - position_) {
      fail_beyond_end();
    }
  }
  template <typename Unsigned>
  Unsigned read_unsigned() {
    require(sizeof(Unsigned));
    auto const value = big_endian<Unsigned>(payload_ + position_, std::make_index_sequence<sizeof(Unsigned)>());
    position_ += sizeof value;
    return value;
  }
  // Compilers make one load of it, but not of a loop.
  template <typename Unsigned, std::size_t... i>
  static Unsigned big_endian(std::uint8_t const* bytes, std::index_sequence<i...>) noexcept {
    return static_cast<Unsigned>((... | (std::uint64_t{bytes[i]} << 8U * (sizeof(Unsigned) - 1 - i))));
  }

  std::size_t read_length(std::size_t field_bytes) {
    switch (field_bytes) {
      case 1:
        return read_u8();
      case 2:
        return read_u16();
      case 4:
        return read_u32();
      default:
        fail_invalid_length_field();
    }
  }
  // The position behind the next `length` bytes.
  std::size_t end_of(std::size_t length) {
    if (length > size_ - position_) {
      fail_invalid_end(length);
    }
    return position_ + length;
  }

  std::size_t begin_record() {
    if (format_.record_length_bytes == 0) {
      return open_end;
    }
    std::size_t const length = read_length(format_.record_length_bytes);
    if (length == 0) {
      fail_record_smaller_than_expected();
    }
    return end_of(length);
  }
  void end_record(std::size_t end) {
    if (end != open_end) {
      if (position_ > end) {
        fail_record_too_small();
      }
      position_ = end;
    }
  }
  std::size_t begin_array() { return end_of(read_length(format_.array_length_bytes)); }
  void end_array(std::size_t end) {
    if (position_ != end) {
      fail_record_too_small();
    }
  }

  [[noreturn]] void fail_beyond_end();
  [[noreturn]] void fail_invalid_length_field();
  [[noreturn]] void fail_invalid_end(std::size_t length);
  [[noreturn]] void fail_record_smaller_than_expected();
  [[noreturn]] void fail_record_too_small();

  // A record without a length field ends where its members end.
  static constexpr std::size_t open_end = std::numeric_limits<std::size_t>::max();

  std::uint8_t const* payload_;
  std::size_t size_;
  std::size_t position_ = 0;
  Wire_format format_;
  bool failed_ = false;
};

}  // namespace tarn::com::cpp_binding

#endif
