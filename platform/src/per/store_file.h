// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_STORE_FILE_H
#define PLATFORM_SRC_PER_STORE_FILE_H

#include <cstddef>
#include <memory>
#include <string>

#include <sqlite3.h>

#include "platform/src/per/store_vfs.h"

namespace linux_platform::per {

/// A file that SQLite has open through a Store_vfs: passes every operation on to the default VFS's file, by way of the
/// Store_vfs's steps. Results are SQLite result codes.
class Store_file {
 public:
  Store_file(Store_vfs const& vfs, char const* name);
  virtual ~Store_file();
  Store_file(Store_file const&) = delete;
  Store_file& operator=(Store_file const&) = delete;

  int open_base(int flags, int* flags_out) noexcept;
  bool is_open() const noexcept { return base_ != nullptr && base_->pMethods != nullptr; }

  virtual int read(void* buffer, int size, sqlite3_int64 offset) noexcept;
  virtual int write(void const* data, int size, sqlite3_int64 offset) noexcept;
  virtual int truncate(sqlite3_int64 size) noexcept;
  virtual int size(sqlite3_int64* size) noexcept;
  int sync(int flags) noexcept;
  int lock(int level) noexcept;
  int unlock(int level) noexcept;
  int check_reserved_lock(int* held) noexcept;
  int control(int operation, void* argument) noexcept;
  int sector_size() noexcept;
  int characteristics() noexcept;

 protected:
  Store_vfs const& vfs() const noexcept { return vfs_; }
  char const* name() const noexcept { return name_; }
  sqlite3_file& base() noexcept { return *base_; }

 private:
  struct Free {
    void operator()(sqlite3_file* file) const noexcept;
  };

  Store_vfs const& vfs_;
  /// Kept alive by SQLite until the file is closed.
  char const* name_;
  std::unique_ptr<sqlite3_file, Free> base_;
};

}  // namespace linux_platform::per

#endif
