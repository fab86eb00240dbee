// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_FUZZ_FUZZ_H
#define TESTS_FUZZ_FUZZ_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

/// The entry of a fuzz target, called by the fuzzer or by replay.cpp.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace fuzz {

using Bytes = std::vector<std::uint8_t>;

/// Ends the process, which is how a target tells what it found.
inline void require(bool holds, char const* property) {
  if (!holds) {
    static_cast<void>(std::fprintf(stderr, "does not hold: %s\n", property));
    std::abort();
  }
}

/// Takes an input apart, from its front. Where nothing is left, there are zeros and empty parts.
class Input {
 public:
  Input(std::uint8_t const* data, std::size_t size) noexcept : data_(data), size_(size) {}

  bool empty() const noexcept { return size_ == 0; }
  std::uint8_t u8() {
    Bytes const one = take(1);
    return one.empty() ? std::uint8_t{0} : one.front();
  }
  /// At most `count` bytes, in memory of their own, so that reading beyond them is noticed.
  Bytes take(std::size_t count) {
    std::size_t const part = std::min(count, size_);
    Bytes bytes(data_, data_ + part);
    data_ += part;
    size_ -= part;
    return bytes;
  }
  Bytes rest() { return take(size_); }
  std::string text() {
    Bytes const bytes = rest();
    return {bytes.begin(), bytes.end()};
  }

 private:
  std::uint8_t const* data_;
  std::size_t size_;
};

/// Whether `text` stands on one line and steers no terminal.
inline bool is_one_plain_line(std::string const& text) {
  return std::none_of(text.begin(), text.end(), [](char c) { return (c >= 0 && c < ' ') || c == '\x7F'; });
}

}  // namespace fuzz

#endif
