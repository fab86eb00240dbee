// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_USAGE_FILE_H
#define PLATFORM_SRC_PER_USAGE_FILE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/src/per/usage.h"

namespace linux_platform::per {

/// The counters of one storage as they are shared in the run directory: words of 64 bits in the machine's byte order,
/// each written by itself, by the one process that has the storage open, and never beyond the size the file got when
/// it was made.
///
///   total   = base + run    base: what the store held when the file was made; the store catches up at each commit
///   session = run - start   start: run when the application's process began
///
/// `run` only grows, so whoever reads at any instant finds a total that was true then.
struct Usage_file {
  static constexpr std::size_t word_count = 11;
  static constexpr std::size_t size = word_count * sizeof(std::uint64_t);
  using Words = std::array<std::uint64_t, word_count>;
  /// Which words are stored one by one.
  static constexpr std::size_t store_id_word = 1;
  static constexpr std::size_t run_read_word = 8;
  static constexpr std::size_t run_write_word = 9;
  static constexpr std::size_t run_setvalue_word = 10;

  /// The store's own id; 0 until the storage was opened successfully.
  std::uint64_t store_id = 0;
  Usage base;
  Usage start;
  Usage run;

  Usage total() const noexcept { return base + run; }
  Usage session() const noexcept { return run - start; }

  Words to_words() const noexcept;
  /// Nothing when the words are not those of such a file.
  static std::optional<Usage_file> from_words(Words const& words) noexcept;
  /// The whole file, if it has the right size and its first word is right. Never blocks.
  static std::optional<Usage_file> load(int descriptor) noexcept;
};

}  // namespace linux_platform::per

#endif
