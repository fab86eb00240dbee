// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_BYTES_BYTE_READER_H
#define MACHINE_DIAGNOSTIC_MANAGER_BYTES_BYTE_READER_H

#include <cstddef>
#include <cstdint>

#include "machine/diagnostic_manager/bytes/byte_view.h"

namespace machine::diagnostic_manager {

/// Takes big-endian values from the front of a view. A read beyond the end gives 0 and marks the reader as failed for
/// good, so a whole layout is read first and `ok()` is asked once.
class Byte_reader {
 public:
  explicit Byte_reader(Byte_view bytes) noexcept : rest_(bytes) {}

  std::uint8_t u8() noexcept { return static_cast<std::uint8_t>(number(1)); }
  std::uint16_t u16() noexcept { return static_cast<std::uint16_t>(number(2)); }
  std::uint32_t u32() noexcept { return number(4); }

  /// Everything that was not read yet.
  Byte_view rest() const noexcept { return rest_; }
  bool ok() const noexcept { return ok_; }

 private:
  std::uint32_t number(std::size_t size) noexcept {
    if (!ok_ || rest_.size() < size) {
      ok_ = false;
      return 0;
    }
    std::uint32_t value = 0;
    for (std::uint8_t const byte : rest_.first(size)) {
      value = value << 8U | byte;
    }
    rest_ = rest_.after(size);
    return value;
  }

  Byte_view rest_;
  bool ok_ = true;
};

}  // namespace machine::diagnostic_manager

#endif
