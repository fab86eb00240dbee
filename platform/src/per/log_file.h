// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_LOG_FILE_H
#define PLATFORM_SRC_PER_LOG_FILE_H

#include "platform/src/per/store_file.h"

namespace linux_platform::per {

/// The write-ahead log of a store, arranged so that it costs the medium as little as possible:
///
/// - it comes with a new store, and where it was taken away it is made at the first write, not when the store is
/// opened;
/// - the sync that SQLite wants between header and frames, to keep frames of an earlier round out, is left out of a log
///   that was never used;
/// - it grows in whole blocks, filled with zeros, so that a commit into a block that is there changes no metadata; what
///   is no valid frame is nothing to SQLite.
class Log_file final : public Store_file {
 public:
  /// The block of the file systems and of the flash translation below them, in bytes.
  static constexpr std::int64_t block = 4096;

  using Store_file::Store_file;

  /// Opens the log if there is one.
  int open_if_there() noexcept;

  int read(void* buffer, int size, std::int64_t offset) noexcept override;
  int write(void const* data, int size, std::int64_t offset) noexcept override;
  int sync() noexcept override;
  int size(std::int64_t* size) noexcept override;

 private:
  int make() noexcept;
  void fill_block(std::int64_t end) noexcept;

  std::int64_t size_ = 0;
  /// Never written to, or nothing but its header.
  bool is_new_ = false;
  /// The name is not durable yet.
  bool is_name_new_ = false;
};

}  // namespace linux_platform::per

#endif
