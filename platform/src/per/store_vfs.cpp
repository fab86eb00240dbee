// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/store_vfs.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <stdexcept>
#include <string_view>
#include <unistd.h>

#include "platform/src/per/descriptor.h"
#include "platform/src/per/vfs_table.h"

namespace linux_platform::per {
namespace {

using Kind = File_operation::Kind;

std::string next_name() {
  // SQLite finds a VFS by its name, so names differ within the process.
  static std::atomic<std::uint64_t> last{0};
  return "ara_per_" + std::to_string(++last);
}

}  // namespace

Store_vfs::Store_vfs(Access access, File_rights rights, Write_meter_if& meter, File_observer& observer)
    : access_(access),
      rights_(rights),
      meter_(meter),
      observer_(observer),
      base_(sqlite3_vfs_find(nullptr)),
      name_(next_name()),
      table_() {
  if (base_ == nullptr) {
    throw std::runtime_error("SQLite has no default VFS");
  }
  table_ = make_vfs_table(*this);
  if (sqlite3_vfs_register(&table_, 0) != SQLITE_OK) {
    throw std::bad_alloc();
  }
}

Store_vfs::~Store_vfs() { sqlite3_vfs_unregister(&table_); }

int Store_vfs::failed(int result, int error) noexcept {
  last_error_ = error;
  return result;
}

int Store_vfs::write_failed(int error) noexcept {
  auto const full = error == ENOSPC || error == EDQUOT || error == EFBIG;
  return failed(full ? SQLITE_FULL : SQLITE_IOERR_WRITE, error);
}

int Store_vfs::create(char const* file) noexcept {
  if (auto const refused = observer_.before({Kind::create, file}); refused != 0) {
    return failed(refused, 0);
  }
  Descriptor const made(open(file, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
  auto const error = made ? rights_.apply(made.get(), rights_.file_mode()) : errno;
  if (error == 0) {
    return SQLITE_OK;
  }
  return failed(error == ENOSPC || error == EDQUOT ? SQLITE_FULL : SQLITE_CANTOPEN, error);
}

int Store_vfs::write(int descriptor, char const* file, void const* data, std::size_t size,
                     std::int64_t offset) noexcept {
  if (auto const refused = observer_.before({Kind::write, file, offset, data, size}); refused != 0) {
    return failed(refused, 0);
  }
  auto const* from = static_cast<char const*>(data);
  while (size != 0) {
    auto const put = pwrite(descriptor, from, size, offset);
    if (put < 0 && errno != EINTR) {
      return write_failed(errno);
    }
    if (put > 0) {
      meter_.written(static_cast<std::uint64_t>(put));
      from += put;
      offset += put;
      size -= static_cast<std::size_t>(put);
    }
  }
  return SQLITE_OK;
}

int Store_vfs::truncate(int descriptor, char const* file, std::int64_t size) noexcept {
  if (auto const refused = observer_.before({Kind::truncate, file, size}); refused != 0) {
    return failed(refused, 0);
  }
  return ftruncate(descriptor, size) == 0 ? SQLITE_OK : failed(SQLITE_IOERR_TRUNCATE, errno);
}

int Store_vfs::sync(int descriptor, char const* file) noexcept {
  if (auto const refused = observer_.before({Kind::sync, file}); refused != 0) {
    return failed(refused, 0);
  }
  if (fdatasync(descriptor) == 0) {
    return SQLITE_OK;
  }
  return errno == ENOSPC || errno == EDQUOT ? write_failed(errno) : failed(SQLITE_IOERR_FSYNC, errno);
}

int Store_vfs::sync_folder_of(char const* file) noexcept {
  std::string_view const path(file);
  try {
    std::string const folder(path.substr(0, path.rfind('/')));
    if (auto const refused = observer_.before({Kind::sync_names, folder}); refused != 0) {
      return failed(refused, 0);
    }
    Descriptor const opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return opened && fsync(opened.get()) == 0 ? SQLITE_OK : failed(SQLITE_IOERR_DIR_FSYNC, errno);
  } catch (std::bad_alloc const&) {
    return SQLITE_NOMEM;
  }
}

int Store_vfs::rename(std::string const& file, std::string const& new_name) noexcept {
  if (auto const refused = observer_.before({Kind::rename, file, 0, nullptr, 0, new_name}); refused != 0) {
    return failed(refused, 0);
  }
  return std::rename(file.c_str(), new_name.c_str()) == 0 ? SQLITE_OK : write_failed(errno);
}

int Store_vfs::remove(char const* file) noexcept {
  if (auto const refused = observer_.before({Kind::remove, file}); refused != 0) {
    return failed(refused, 0);
  }
  if (unlink(file) == 0) {
    return SQLITE_OK;
  }
  return failed(errno == ENOENT ? SQLITE_IOERR_DELETE_NOENT : SQLITE_IOERR_DELETE, errno);
}

int Store_vfs::create_with(std::string const& file, std::vector<std::uint8_t> const& content) noexcept {
  if (auto const result = create(file.c_str()); result != SQLITE_OK) {
    return result;
  }
  Descriptor const made(open(file.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW));
  if (!made) {
    return failed(SQLITE_CANTOPEN, errno);
  }
  auto const result = write(made.get(), file.c_str(), content.data(), content.size(), 0);
  return result == SQLITE_OK ? sync(made.get(), file.c_str()) : result;
}

}  // namespace linux_platform::per
