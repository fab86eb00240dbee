// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_STORE_VFS_H
#define PLATFORM_SRC_PER_STORE_VFS_H

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include <sqlite3.h>

#include "platform/src/per/file_observer.h"
#include "platform/src/per/file_rights.h"
#include "platform/src/per/write_meter_if.h"

namespace linux_platform::per {

/// All file access of one storage: a SQLite VFS on top of the default one, registered for as long as it lives, which
///
/// - tells the meter of every byte written, and the observer of every step before it is taken;
/// - never maps files into memory, so that damage is an error code and never a signal;
/// - makes the write-ahead log only when something is written, with the storage's rights, keeps it when it is emptied,
///   and lets it grow in whole blocks (see Log_file), so that most commits change no metadata;
/// - as a reader writes nothing, makes nothing and takes shared locks only.
///
/// Used by one thread at a time.
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

  /// Each of these is one step: observed, taken, counted. The result is a SQLite result code; errno says more.
  int create(char const* file) const noexcept;
  int write(sqlite3_file& base, char const* file, void const* data, int size, std::int64_t offset) const noexcept;
  int truncate(sqlite3_file& base, char const* file, std::int64_t size) const noexcept;
  int sync(sqlite3_file& base, char const* file, int flags) const noexcept;
  int rename(std::string const& file, std::string const& new_name) const noexcept;
  int remove(char const* file) const noexcept;

  /// Makes `file` with that content, durably but for its name.
  int create_with(std::string const& file, std::vector<std::uint8_t> const& content) const noexcept;

 private:
  Access access_;
  File_rights rights_;
  Write_meter_if& meter_;
  File_observer& observer_;
  sqlite3_vfs* base_;
  std::string name_;
  sqlite3_vfs table_;
};

}  // namespace linux_platform::per

#endif
