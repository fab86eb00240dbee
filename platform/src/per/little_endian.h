// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_LITTLE_ENDIAN_H
#define PLATFORM_SRC_PER_LITTLE_ENDIAN_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace linux_platform::per {

/// Appends unsigned integers to bytes, lowest byte first.
class Little_endian_writer {
 public:
  explicit Little_endian_writer(std::vector<std::uint8_t>& bytes) noexcept : bytes_(bytes) {}

  void u32(std::uint32_t value) { put(value, 4); }
  void u64(std::uint64_t value) { put(value, 8); }

 private:
  void put(std::uint64_t value, unsigned size) {
    for (unsigned i = 0; i < size; ++i) {
      bytes_.push_back(static_cast<std::uint8_t>(value >> (8U * i)));
    }
  }

  std::vector<std::uint8_t>& bytes_;
};

/// Takes unsigned integers from bytes, lowest byte first. Reading past the end gives 0 and is remembered.
class Little_endian_reader {
 public:
  Little_endian_reader(std::uint8_t const* data, std::size_t size) noexcept : data_(data), left_(size) {}

  std::uint32_t u32() noexcept { return static_cast<std::uint32_t>(take(4)); }
  std::uint64_t u64() noexcept { return take(8); }
  /// Whether every byte was read and none past the end.
  bool exhausted() const noexcept { return !failed_ && left_ == 0; }

 private:
  std::uint64_t take(unsigned size) noexcept {
    if (failed_ || left_ < size) {
      failed_ = true;
      return 0;
    }
    std::uint64_t value = 0;
    for (unsigned i = 0; i < size; ++i) {
      value |= std::uint64_t{data_[i]} << (8U * i);
    }
    data_ += size;
    left_ -= size;
    return value;
  }

  std::uint8_t const* data_;
  std::size_t left_;
  bool failed_ = false;
};

}  // namespace linux_platform::per

#endif
