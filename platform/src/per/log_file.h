// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_LOG_FILE_H
#define PLATFORM_SRC_PER_LOG_FILE_H

#include <string>

#include "platform/src/per/store_file.h"

namespace linux_platform::per {

/// The write-ahead log of a store, arranged so that it costs the medium as little as possible:
///
/// - it is made at the first write, not when the store is opened;
/// - it grows in whole blocks, filled with zeros, so that a commit into a block that is there changes no metadata;
/// - emptying it overwrites its header with zeros instead of shortening it. SQLite takes a log without a valid header
///   for an empty one, with or without this class.
class Log_file final : public Store_file {
 public:
  using Store_file::Store_file;

  int open(int flags, int* flags_out);

  int read(void* buffer, int size, sqlite3_int64 offset) noexcept override;
  int write(void const* data, int size, sqlite3_int64 offset) noexcept override;
  int truncate(sqlite3_int64 size) noexcept override;
  int size(sqlite3_int64* size) noexcept override;

 private:
  int make();
  int learn_size() noexcept;
  void fill_block(sqlite3_int64 end) noexcept;

  int flags_ = 0;
  sqlite3_int64 physical_size_ = 0;
  bool has_header_ = false;
};

}  // namespace linux_platform::per

#endif
