// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_BYTES_BYTE_WRITER_H
#define MACHINE_DIAGNOSTIC_MANAGER_BYTES_BYTE_WRITER_H

#include <cstddef>
#include <cstdint>
#include <utility>

#include "machine/diagnostic_manager/bytes/byte_view.h"

namespace machine::diagnostic_manager {

/// Appends big-endian values to a byte vector of its own.
class Byte_writer {
 public:
  Byte_writer& u8(std::uint8_t value) {
    bytes_.push_back(value);
    return *this;
  }
  Byte_writer& u16(std::uint16_t value) { return u8(static_cast<std::uint8_t>(value >> 8U)).u8(low_byte(value)); }
  Byte_writer& u32(std::uint32_t value) {
    return u16(static_cast<std::uint16_t>(value >> 16U)).u16(static_cast<std::uint16_t>(value & 0xFFFFU));
  }
  Byte_writer& bytes(Byte_view value) {
    bytes_.insert(bytes_.end(), value.begin(), value.end());
    return *this;
  }

  std::size_t size() const noexcept { return bytes_.size(); }
  /// Hands the bytes over; the writer is empty afterwards.
  Bytes take() { return std::exchange(bytes_, {}); }

 private:
  static std::uint8_t low_byte(std::uint16_t value) { return static_cast<std::uint8_t>(value & 0xFFU); }

  Bytes bytes_;
};

}  // namespace machine::diagnostic_manager

#endif
