// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_LOG_FILE_H
#define PLATFORM_SRC_PER_LOG_FILE_H

#include "platform/src/per/store_file.h"

namespace linux_platform::per {

/// The write-ahead log of a store, arranged so that it costs the medium as little as possible:
///
/// - it is made at the first write, not when the store is opened;
/// - the sync that SQLite wants between header and frames, to keep frames of an earlier round out, is left out of a log
///   that is new;
/// - it grows in whole blocks, filled with zeros, so that a commit into a block that is there changes no metadata;
/// - emptying it overwrites its header with zeros instead of shortening it. SQLite takes a log without a valid header
///   for an empty one, with or without this class.
class Log_file final : public Store_file {
 public:
  using Store_file::Store_file;

  /// Opens the log if there is one.
  int open_if_there() noexcept;

  int read(void* buffer, int size, std::int64_t offset) noexcept override;
  int write(void const* data, int size, std::int64_t offset) noexcept override;
  int truncate(std::int64_t size) noexcept override;
  int sync() noexcept override;
  int size(std::int64_t* size) noexcept override;

 private:
  int make() noexcept;
  int learn_size() noexcept;
  void fill_block(std::int64_t end) noexcept;

  std::int64_t physical_size_ = 0;
  bool has_header_ = false;
  /// Made by this object, and nothing but its header written.
  bool is_new_ = false;
  /// The name is not durable yet.
  bool is_name_new_ = false;
};

}  // namespace linux_platform::per

#endif
