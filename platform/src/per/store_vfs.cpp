// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/store_vfs.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <new>
#include <stdexcept>

#include "platform/src/per/descriptor.h"
#include "platform/src/per/log_file.h"
#include "platform/src/per/store_file.h"

namespace linux_platform::per {
namespace {

using Kind = File_operation::Kind;

/// What SQLite holds of a file of ours. Version 1 of the methods has neither shared memory nor memory-mapped reading.
struct Handle : sqlite3_file {
  std::unique_ptr<Store_file> file;
};

Store_file& file_of(sqlite3_file* handle) noexcept { return *static_cast<Handle*>(handle)->file; }
Store_vfs const& vfs_of(sqlite3_vfs* table) noexcept { return *static_cast<Store_vfs const*>(table->pAppData); }
sqlite3_vfs* base_of(sqlite3_vfs* table) noexcept { return &vfs_of(table).base(); }

int close_handle(sqlite3_file* handle) noexcept {
  static_cast<Handle*>(handle)->~Handle();
  return SQLITE_OK;
}

sqlite3_io_methods const methods{
    1,
    close_handle,
    [](sqlite3_file* f, void* to, int n, sqlite3_int64 at) { return file_of(f).read(to, n, at); },
    [](sqlite3_file* f, void const* from, int n, sqlite3_int64 at) { return file_of(f).write(from, n, at); },
    [](sqlite3_file* f, sqlite3_int64 size) { return file_of(f).truncate(size); },
    [](sqlite3_file* f, int flags) { return file_of(f).sync(flags); },
    [](sqlite3_file* f, sqlite3_int64* size) { return file_of(f).size(size); },
    [](sqlite3_file* f, int level) { return file_of(f).lock(level); },
    [](sqlite3_file* f, int level) { return file_of(f).unlock(level); },
    [](sqlite3_file* f, int* held) { return file_of(f).check_reserved_lock(held); },
    [](sqlite3_file* f, int operation, void* argument) { return file_of(f).control(operation, argument); },
    [](sqlite3_file* f) { return file_of(f).sector_size(); },
    [](sqlite3_file* f) { return file_of(f).characteristics(); },
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};

int open_file(sqlite3_vfs* table, char const* name, sqlite3_file* memory, int flags, int* flags_out) noexcept {
  memory->pMethods = nullptr;
  try {
    auto const is_log = (flags & SQLITE_OPEN_WAL) != 0;
    auto log = is_log ? std::make_unique<Log_file>(vfs_of(table), name) : nullptr;
    auto plain = is_log ? nullptr : std::make_unique<Store_file>(vfs_of(table), name);
    auto const result = is_log ? log->open(flags, flags_out) : plain->open_base(flags, flags_out);
    if (result != SQLITE_OK) {
      return result;
    }
    auto* const handle = new (memory) Handle{};
    handle->file = is_log ? std::unique_ptr<Store_file>(std::move(log)) : std::move(plain);
    handle->pMethods = &methods;
    return SQLITE_OK;
  } catch (std::bad_alloc const&) {
    return SQLITE_NOMEM;
  }
}

sqlite3_vfs make_table(Store_vfs const* self, sqlite3_vfs const& base, char const* name) {
  sqlite3_vfs table{};
  table.iVersion = 2;
  table.szOsFile = sizeof(Handle);
  table.mxPathname = base.mxPathname;
  table.zName = name;
  // SQLite hands the pointer back untouched; everything behind it is used as const.
  table.pAppData = const_cast<Store_vfs*>(self);  // NOLINT(cppcoreguidelines-pro-type-const-cast): a C interface.
  table.xOpen = open_file;
  table.xDelete = [](sqlite3_vfs* v, char const* file, int) { return vfs_of(v).remove(file); };
  table.xAccess = [](sqlite3_vfs* v, char const* file, int flags, int* result) {
    return base_of(v)->xAccess(base_of(v), file, flags, result);
  };
  table.xFullPathname = [](sqlite3_vfs* v, char const* file, int size, char* out) {
    return base_of(v)->xFullPathname(base_of(v), file, size, out);
  };
  table.xRandomness = [](sqlite3_vfs* v, int size, char* out) {
    return base_of(v)->xRandomness(base_of(v), size, out);
  };
  table.xSleep = [](sqlite3_vfs* v, int microseconds) { return base_of(v)->xSleep(base_of(v), microseconds); };
  table.xCurrentTime = [](sqlite3_vfs* v, double* now) { return base_of(v)->xCurrentTime(base_of(v), now); };
  table.xGetLastError = [](sqlite3_vfs* v, int size, char* out) {
    return base_of(v)->xGetLastError(base_of(v), size, out);
  };
  table.xCurrentTimeInt64 = [](sqlite3_vfs* v, sqlite3_int64* now) {
    return base_of(v)->xCurrentTimeInt64(base_of(v), now);
  };
  return table;
}

std::string next_name() {
  // Names have to differ within the process, as SQLite finds a VFS by its name.
  static std::atomic<std::uint64_t> last{0};
  return "ara_per_" + std::to_string(++last);
}

int result_of(int error) noexcept { return error == ENOSPC || error == EDQUOT ? SQLITE_FULL : SQLITE_IOERR_WRITE; }

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
  table_ = make_table(this, *base_, name_.c_str());
  if (sqlite3_vfs_register(&table_, 0) != SQLITE_OK) {
    throw std::bad_alloc();
  }
}

Store_vfs::~Store_vfs() { sqlite3_vfs_unregister(&table_); }

int Store_vfs::create(char const* file) const noexcept {
  if (auto const refused = observer_.before({Kind::create, file}); refused != 0) {
    return refused;
  }
  Descriptor const made(open(file, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  auto const error = made ? rights_.apply(made.get(), rights_.file_mode()) : errno;
  return error == 0 ? SQLITE_OK : result_of(error) == SQLITE_FULL ? SQLITE_FULL : SQLITE_CANTOPEN;
}

int Store_vfs::write(sqlite3_file& base, char const* file, void const* data, int size,
                     std::int64_t offset) const noexcept {
  if (auto const refused = observer_.before({Kind::write, file, offset, data, static_cast<std::size_t>(size)});
      refused != 0) {
    return refused;
  }
  auto const result = base.pMethods->xWrite(&base, data, size, offset);
  if (result == SQLITE_OK) {
    meter_.written(static_cast<std::uint64_t>(size));
  }
  return result;
}

int Store_vfs::truncate(sqlite3_file& base, char const* file, std::int64_t size) const noexcept {
  auto const refused = observer_.before({Kind::truncate, file, size});
  return refused != 0 ? refused : base.pMethods->xTruncate(&base, size);
}

int Store_vfs::sync(sqlite3_file& base, char const* file, int flags) const noexcept {
  auto const refused = observer_.before({Kind::sync, file});
  return refused != 0 ? refused : base.pMethods->xSync(&base, flags);
}

int Store_vfs::rename(std::string const& file, std::string const& new_name) const noexcept {
  if (auto const refused = observer_.before({Kind::rename, file, 0, nullptr, 0, new_name}); refused != 0) {
    return refused;
  }
  return std::rename(file.c_str(), new_name.c_str()) == 0 ? SQLITE_OK : result_of(errno);
}

int Store_vfs::remove(char const* file) const noexcept {
  if (auto const refused = observer_.before({Kind::remove, file}); refused != 0) {
    return refused;
  }
  if (unlink(file) == 0) {
    return SQLITE_OK;
  }
  return errno == ENOENT ? SQLITE_IOERR_DELETE_NOENT : SQLITE_IOERR_DELETE;
}

int Store_vfs::create_with(std::string const& file, std::vector<std::uint8_t> const& content) const noexcept {
  if (auto const result = create(file.c_str()); result != SQLITE_OK) {
    return result;
  }
  // The type is one that the default VFS neither locks nor shares.
  constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_SUPER_JOURNAL;
  Store_file made(*this, file.c_str());
  if (auto const result = made.open_base(flags, nullptr); result != SQLITE_OK) {
    return result;
  }
  if (auto const result = made.write(content.data(), static_cast<int>(content.size()), 0); result != SQLITE_OK) {
    return result;
  }
  return made.sync(SQLITE_SYNC_NORMAL);
}

}  // namespace linux_platform::per
