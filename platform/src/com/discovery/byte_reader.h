// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_BYTE_READER_H
#define PLATFORM_SRC_COM_DISCOVERY_BYTE_READER_H

#include <cstddef>
#include <cstdint>

namespace linux_platform::com::discovery {

/// Reads big-endian numbers from bytes it does not own. A read beyond the end yields 0 and makes ok() false for good.
class Byte_reader final {
 public:
  Byte_reader(std::uint8_t const* data, std::size_t size) noexcept : data_(data), size_(size) {}

  std::uint8_t u8() noexcept { return static_cast<std::uint8_t>(number(1)); }
  std::uint16_t u16() noexcept { return static_cast<std::uint16_t>(number(2)); }
  std::uint32_t u24() noexcept { return number(3); }
  std::uint32_t u32() noexcept { return number(4); }

  /// The next `length` bytes as a reader of their own, which is not ok() when there are fewer.
  Byte_reader part(std::size_t length) noexcept {
    if (!take(length)) {
      Byte_reader nothing{nullptr, 0};
      nothing.ok_ = false;
      return nothing;
    }
    return {data_ + position_ - length, length};
  }

  std::size_t remaining() const noexcept { return size_ - position_; }
  bool ok() const noexcept { return ok_; }

 private:
  bool take(std::size_t length) noexcept {
    ok_ = ok_ && length <= remaining();
    position_ += ok_ ? length : 0;
    return ok_;
  }

  std::uint32_t number(std::size_t length) noexcept {
    std::uint32_t value = 0;
    if (take(length)) {
      for (std::size_t i = position_ - length; i < position_; ++i) {
        value = value << 8U | data_[i];
      }
    }
    return value;
  }

  std::uint8_t const* data_;
  std::size_t size_;
  std::size_t position_ = 0;
  bool ok_ = true;
};

}  // namespace linux_platform::com::discovery

#endif
