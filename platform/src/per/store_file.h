// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_STORE_FILE_H
#define PLATFORM_SRC_PER_STORE_FILE_H

#include <cstdint>
#include <string>

#include "platform/src/per/descriptor.h"
#include "platform/src/per/store_vfs.h"

namespace linux_platform::per {

/// A file that SQLite has open through a Store_vfs. Results are SQLite result codes; after an error Store_vfs knows the
/// system's error number.
///
/// Where the process owns the file, reading leaves its time of last access alone: that would be a write to the medium.
class Store_file {
 public:
  /// `path` outlives the object.
  Store_file(Store_vfs& vfs, char const* path) noexcept : vfs_(vfs), path_(path) {}
  virtual ~Store_file() = default;
  Store_file(Store_file const&) = delete;
  Store_file& operator=(Store_file const&) = delete;

  /// Opens what is there, for writing unless the VFS is a reader's. Anything but a regular file is refused.
  int open() noexcept;

  /// What lies behind the end of the file reads as zeros, with SQLITE_IOERR_SHORT_READ.
  virtual int read(void* buffer, int size, std::int64_t offset) noexcept;
  virtual int write(void const* data, int size, std::int64_t offset) noexcept;
  virtual int truncate(std::int64_t size) noexcept;
  virtual int sync() noexcept;
  virtual int size(std::int64_t* size) noexcept;

  /// SQLite's locks on a database, in the bytes where every SQLite has them, but only two of them: a reader's is
  /// shared, and a writer's exclusive from its first access on. They belong to the open file, so that nothing else the
  /// process does can lose them. Never waits: SQLITE_BUSY.
  int lock() noexcept;
  int unlock() noexcept;
  int control(int operation, void* argument) noexcept;

 protected:
  Store_vfs& vfs() const noexcept { return vfs_; }
  char const* path() const noexcept { return path_; }
  bool is_open() const noexcept { return static_cast<bool>(file_); }

 private:
  bool has_moved() const noexcept;

  Store_vfs& vfs_;
  char const* path_;
  Descriptor file_;
};

}  // namespace linux_platform::per

#endif
