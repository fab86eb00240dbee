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
  /// Byte offsets of the members.
  static constexpr std::size_t store_id_at = 8;
  static constexpr std::size_t base_at = 16;
  static constexpr std::size_t start_at = 40;
  static constexpr std::size_t run_at = 64;

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
