// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/store_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sqlite3.h>

namespace linux_platform::per {
namespace {

/// Where SQLite locks a database file: PENDING, RESERVED and 510 bytes SHARED (sqlite.org/lockingv3.html).
constexpr off_t lock_begin = 0x40000000;
constexpr off_t lock_size = 512;

Descriptor open_quietly(char const* path, int flags) noexcept {
  // Not blocking, as the name could be that of a pipe.
  flags |= O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  Descriptor file(open(path, flags | O_NOATIME));
  // Only a file's owner may leave its time of last access alone.
  return !file && errno == EPERM ? Descriptor(open(path, flags)) : std::move(file);
}

int set_lock(int descriptor, short type) noexcept {
  struct flock range {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = lock_begin;
  range.l_len = lock_size;
  return fcntl(descriptor, F_OFD_SETLK, &range);
}

}  // namespace

int Store_file::open() noexcept {
  auto const writer = vfs_.access() == Store_vfs::Access::read_write;
  auto file = open_quietly(path_, writer ? O_RDWR : O_RDONLY);
  if (!file) {
    return vfs_.failed(SQLITE_CANTOPEN, errno);
  }
  struct stat status {};
  if (fstat(file.get(), &status) != 0) {
    return vfs_.failed(SQLITE_IOERR_FSTAT, errno);
  }
  if (!S_ISREG(status.st_mode)) {
    return vfs_.failed(SQLITE_CANTOPEN, S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
  }
  file_ = std::move(file);
  return SQLITE_OK;
}

int Store_file::read(void* buffer, int size, std::int64_t offset) noexcept {
  auto* to = static_cast<char*>(buffer);
  auto left = static_cast<std::size_t>(size);
  while (left != 0) {
    auto const got = pread(file_.get(), to, left, offset);
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got < 0) {
      return vfs_.failed(SQLITE_IOERR_READ, errno);
    }
    if (got == 0) {
      std::memset(to, 0, left);
      return SQLITE_IOERR_SHORT_READ;
    }
    to += got;
    offset += got;
    left -= static_cast<std::size_t>(got);
  }
  return SQLITE_OK;
}

int Store_file::write(void const* data, int size, std::int64_t offset) noexcept {
  return vfs_.write(file_.get(), path_, data, static_cast<std::size_t>(size), offset);
}

int Store_file::truncate(std::int64_t size) noexcept {
  std::int64_t now = 0;
  // A checkpoint cuts the file to the length it has: on the medium that would be a change of its times.
  if (auto const result = this->size(&now); result != SQLITE_OK || now == size) {
    return result;
  }
  return vfs_.truncate(file_.get(), path_, size);
}

int Store_file::sync() noexcept { return vfs_.sync(file_.get(), path_); }

int Store_file::size(std::int64_t* size) noexcept {
  struct stat status {};
  if (fstat(file_.get(), &status) != 0) {
    return vfs_.failed(SQLITE_IOERR_FSTAT, errno);
  }
  *size = status.st_size;
  return SQLITE_OK;
}

int Store_file::lock() noexcept {
  auto const writer = vfs_.access() == Store_vfs::Access::read_write;
  if (set_lock(file_.get(), writer ? F_WRLCK : F_RDLCK) == 0) {
    return SQLITE_OK;
  }
  auto const busy = errno == EAGAIN || errno == EACCES;
  return vfs_.failed(busy ? SQLITE_BUSY : SQLITE_IOERR_LOCK, errno);
}

int Store_file::unlock() noexcept {
  return set_lock(file_.get(), F_UNLCK) == 0 ? SQLITE_OK : vfs_.failed(SQLITE_IOERR_UNLOCK, errno);
}

int Store_file::control(int operation, void* argument) noexcept {
  if (operation == SQLITE_FCNTL_HAS_MOVED) {
    *static_cast<int*>(argument) = has_moved() ? 1 : 0;
    return SQLITE_OK;
  }
  return SQLITE_NOTFOUND;
}

bool Store_file::has_moved() const noexcept {
  struct stat opened {};
  struct stat named {};
  return fstat(file_.get(), &opened) != 0 || lstat(path_, &named) != 0 || opened.st_ino != named.st_ino ||
         opened.st_dev != named.st_dev;
}

}  // namespace linux_platform::per
