// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_MAPPED_WORDS_H
#define PLATFORM_SRC_PER_MAPPED_WORDS_H

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace linux_platform::per {

/// Words of a file in memory: who reads the file sees a stored word at once, and a process that is killed has lost
/// none. The file must keep its size; a store to what was cut off would end the process with SIGBUS.
class Mapped_words final {
 public:
  /// The first `count` words of an open file that has them already. std::system_error when they cannot be mapped.
  Mapped_words(int descriptor, std::size_t count);
  ~Mapped_words();
  Mapped_words(Mapped_words const&) = delete;
  Mapped_words& operator=(Mapped_words const&) = delete;

  void store(std::size_t word, std::uint64_t value) noexcept { words_[word].store(value, std::memory_order_release); }

 private:
  using Word = std::atomic<std::uint64_t>;
  static_assert(Word::is_always_lock_free && sizeof(Word) == sizeof(std::uint64_t));

  std::size_t const size_;
  Word* const words_;
};

}  // namespace linux_platform::per

#endif
