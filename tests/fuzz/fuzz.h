// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_FUZZ_FUZZ_H
#define TESTS_FUZZ_FUZZ_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

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
  std::uint8_t u8() { return take(1, 1).front(); }
  /// At most `count` bytes, filled up with zeros to `least`, in memory of their own, so that reading beyond them is
  /// noticed.
  Bytes take(std::size_t count, std::size_t least = 0) {
    std::size_t const part = std::min(count, size_);
    Bytes bytes(data_, data_ + part);
    bytes.resize(std::max(part, least));
    data_ += part;
    size_ -= part;
    return bytes;
  }
  Bytes rest() { return take(size_); }
  std::string text() { return {data_, data_ + size_}; }

 private:
  std::uint8_t const* data_;
  std::size_t size_;
};

/// What a target does with an input.
void check(Input input);

/// A regular file in memory, for readers that want a path or a descriptor.
class Memory_file {
 public:
  template <typename Content>
  explicit Memory_file(Content const& content) : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)) {
    require(write(descriptor_, content.data(), content.size()) == static_cast<ssize_t>(content.size()),
            "a file in memory takes the input");
  }
  ~Memory_file() { close(descriptor_); }
  Memory_file(Memory_file const&) = delete;
  Memory_file& operator=(Memory_file const&) = delete;

  int descriptor() const noexcept { return descriptor_; }
  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

/// What becomes of a stream, which is the same in pieces of any size.
template <typename Read>
auto same_in_pieces(Bytes const& stream, std::size_t piece, Read const& read) {
  auto const whole = read(stream, stream.size() + 1);
  require(read(stream, piece) == whole && read(stream, 1) == whole, "pieces make no difference");
  return whole;
}

/// Whether `text` stands on one line and steers no terminal.
inline bool is_one_plain_line(std::string const& text) {
  return std::none_of(text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; });
}

}  // namespace fuzz

#endif
