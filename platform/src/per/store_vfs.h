// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_STORE_VFS_H
#define PLATFORM_SRC_PER_STORE_VFS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <sqlite3.h>

#include "platform/src/per/file_observer.h"
#include "platform/src/per/file_rights.h"
#include "platform/src/per/write_meter_if.h"

namespace linux_platform::per {

/// All file access of one storage: a SQLite VFS, registered for as long as it lives, which
///
/// - tells the meter of every byte written, and the observer of every step before it is taken;
/// - never maps files into memory, so that damage is an error code and never a signal;
/// - has files of two kinds only, the store (Store_file) and its write-ahead log (Log_file);
/// - as a reader writes nothing and makes nothing.
///
/// Used by one thread at a time. Results are SQLite result codes.
class Store_vfs {
 public:
  enum class Access { read_write, read_only };

  /// Meter and observer outlive the object.
  Store_vfs(Access access, File_rights rights, Write_meter_if& meter, File_observer& observer);
  ~Store_vfs();
  Store_vfs(Store_vfs const&) = delete;
  Store_vfs& operator=(Store_vfs const&) = delete;

  /// The name under which SQLite knows it.
  char const* name() const noexcept { return name_.c_str(); }
  Access access() const noexcept { return access_; }
  sqlite3_vfs& base() const noexcept { return *base_; }

  /// Keeps the system's error number for the message, and gives back `result`.
  int failed(int result, int error) noexcept;
  int last_error() const noexcept { return last_error_; }

  /// Each of these is one step: observed, taken, counted.
  int create(char const* file) noexcept;
  int write(int descriptor, char const* file, void const* data, std::size_t size, std::int64_t offset) noexcept;
  int truncate(int descriptor, char const* file, std::int64_t size) noexcept;
  int sync(int descriptor, char const* file) noexcept;
  /// Makes the names in the folder of `file` durable.
  int sync_folder_of(char const* file) noexcept;
  int rename(std::string const& file, std::string const& new_name) noexcept;
  int remove(char const* file) noexcept;

  /// Makes `file` with that content, durably but for its name.
  int create_with(std::string const& file, std::vector<std::uint8_t> const& content) noexcept;

 private:
  int write_failed(int error) noexcept;

  Access const access_;
  File_rights const rights_;
  Write_meter_if& meter_;
  File_observer& observer_;
  sqlite3_vfs* const base_;
  std::string const name_;
  sqlite3_vfs table_;
  int last_error_ = 0;
};

}  // namespace linux_platform::per

#endif
