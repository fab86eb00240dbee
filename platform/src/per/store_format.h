// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_STORE_FORMAT_H
#define PLATFORM_SRC_PER_STORE_FORMAT_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sqlite3.h>

#include "platform/src/per/store_vfs.h"

namespace linux_platform::per {

/// How a store's file is made up: a SQLite database in write-ahead log mode with pages of 512 bytes
/// (docs/persistency.md has the measurement behind both), marked by its application id and version, and with exactly
/// two tables:
///
///   entries(key, value)   every value under its key, as a record of Record_codec
///   summary(row, value)   one row, the record of Store_summary
struct Store_format {
  /// In bytes.
  static constexpr std::uint32_t page_size = 512;

  /// The content of a new store's file.
  static std::vector<std::uint8_t> new_file(std::uint64_t store_id);
  /// What makes `file` no store of this format; nothing when its header is in order. Changes nothing. An error of the
  /// file system counts as a finding.
  static std::optional<std::string> check_header(std::string const& file, Store_vfs& vfs);
  /// What is wrong with the tables; nothing when they are as new_file made them.
  static std::optional<std::string> check_tables(sqlite3* database);
};

}  // namespace linux_platform::per

#endif
