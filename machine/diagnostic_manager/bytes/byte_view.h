// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_BYTES_BYTE_VIEW_H
#define MACHINE_DIAGNOSTIC_MANAGER_BYTES_BYTE_VIEW_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace machine::diagnostic_manager {

using Bytes = std::vector<std::uint8_t>;

/// A look at bytes that somebody else owns; never outlives them.
class Byte_view {
 public:
  constexpr Byte_view() noexcept = default;
  constexpr Byte_view(std::uint8_t const* data, std::size_t size) noexcept : data_(data), size_(size) {}
  Byte_view(Bytes const& bytes) noexcept  // NOLINT(google-explicit-constructor): a view is a way of passing bytes
      : data_(bytes.data()), size_(bytes.size()) {}

  constexpr std::uint8_t const* data() const noexcept { return data_; }
  constexpr std::size_t size() const noexcept { return size_; }
  constexpr bool empty() const noexcept { return size_ == 0; }
  constexpr std::uint8_t const* begin() const noexcept { return data_; }
  constexpr std::uint8_t const* end() const noexcept { return data_ + size_; }

  /// The first `count` bytes, or all when there are fewer.
  constexpr Byte_view first(std::size_t count) const noexcept { return {data_, std::min(count, size_)}; }
  /// What follows the first `count` bytes; empty when there are no more.
  constexpr Byte_view after(std::size_t count) const noexcept {
    std::size_t const skipped = std::min(count, size_);
    return {data_ + skipped, size_ - skipped};
  }

 private:
  std::uint8_t const* data_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace machine::diagnostic_manager

#endif
