// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/vfs_table.h"

#include <memory>
#include <new>
#include <string_view>
#include <sys/stat.h>
#include <utility>

#include "platform/src/per/log_file.h"
#include "platform/src/per/names.h"
#include "platform/src/per/store_file.h"

namespace linux_platform::per {
namespace {

/// What SQLite holds of a file.
struct Handle : sqlite3_file {
  std::unique_ptr<Store_file> file;
};

Store_file& file_of(sqlite3_file* handle) noexcept { return *static_cast<Handle*>(handle)->file; }
Store_vfs& vfs_of(sqlite3_vfs* table) noexcept { return *static_cast<Store_vfs*>(table->pAppData); }
sqlite3_vfs* base_of(sqlite3_vfs* table) noexcept { return &vfs_of(table).base(); }

int close_handle(sqlite3_file* handle) noexcept {
  static_cast<Handle*>(handle)->~Handle();
  return SQLITE_OK;
}

constexpr int sector_size = 4096;

/// Version 1 has neither shared memory nor memory-mapped reading.
constexpr int methods_version = 1;

sqlite3_io_methods const& methods() {
  static sqlite3_io_methods const table = [] {
    sqlite3_io_methods m{};
    m.iVersion = methods_version;
    m.xClose = close_handle;
    m.xRead = [](sqlite3_file* f, void* to, int n, sqlite3_int64 at) { return file_of(f).read(to, n, at); };
    m.xWrite = [](sqlite3_file* f, void const* data, int n, sqlite3_int64 at) { return file_of(f).write(data, n, at); };
    m.xTruncate = [](sqlite3_file* f, sqlite3_int64 size) { return file_of(f).truncate(size); };
    m.xSync = [](sqlite3_file* f, int) { return file_of(f).sync(); };
    m.xFileSize = [](sqlite3_file* f, sqlite3_int64* size) {
      std::int64_t found = 0;
      auto const result = file_of(f).size(&found);
      *size = found;
      return result;
    };
    m.xLock = [](sqlite3_file* f, int) { return file_of(f).lock(); };
    m.xUnlock = [](sqlite3_file* f, int level) { return level == SQLITE_LOCK_NONE ? file_of(f).unlock() : SQLITE_OK; };
    m.xCheckReservedLock = [](sqlite3_file*, int* held) {
      *held = 0;
      return SQLITE_OK;
    };
    m.xFileControl = [](sqlite3_file* f, int operation, void* argument) {
      return file_of(f).control(operation, argument);
    };
    m.xSectorSize = [](sqlite3_file*) { return sector_size; };
    m.xDeviceCharacteristics = [](sqlite3_file*) { return SQLITE_IOCAP_POWERSAFE_OVERWRITE; };
    return m;
  }();
  return table;
}

int open_file(sqlite3_vfs* table, char const* path, sqlite3_file* memory, int flags, int* flags_out) noexcept {
  memory->pMethods = nullptr;
  auto& vfs = vfs_of(table);
  std::unique_ptr<Store_file> file;
  auto result = SQLITE_CANTOPEN;
  if ((flags & SQLITE_OPEN_MAIN_DB) != 0) {
    file.reset(new (std::nothrow) Store_file(vfs, path));
    result = file ? file->open() : SQLITE_NOMEM;
  } else if ((flags & SQLITE_OPEN_WAL) != 0) {
    std::unique_ptr<Log_file> log(new (std::nothrow) Log_file(vfs, path));
    result = log ? log->open_if_there() : SQLITE_NOMEM;
    file = std::move(log);
  }
  if (result != SQLITE_OK) {
    return result;
  }
  auto* const handle = new (memory) Handle{};
  handle->file = std::move(file);
  handle->pMethods = &methods();
  if (flags_out != nullptr) {
    *flags_out = flags;
  }
  return SQLITE_OK;
}

bool is_log(std::string_view path) {
  return path.size() >= log_suffix.size() && path.substr(path.size() - log_suffix.size()) == log_suffix;
}

/// A store never has a rollback journal. One that lies beside it all the same is not played back.
int exists(sqlite3_vfs*, char const* path, int, int* result) noexcept {
  struct stat status {};
  *result = is_log(path) && stat(path, &status) == 0 && status.st_size > 0 ? 1 : 0;
  return SQLITE_OK;
}

}  // namespace

sqlite3_vfs make_vfs_table(Store_vfs& vfs) {
  sqlite3_vfs table{};
  table.iVersion = 2;
  table.szOsFile = sizeof(Handle);
  table.mxPathname = vfs.base().mxPathname;
  table.zName = vfs.name();
  table.pAppData = &vfs;
  table.xOpen = open_file;
  table.xDelete = [](sqlite3_vfs* v, char const* path, int) { return vfs_of(v).remove(path); };
  table.xAccess = exists;
  table.xFullPathname = [](sqlite3_vfs* v, char const* path, int size, char* out) {
    return base_of(v)->xFullPathname(base_of(v), path, size, out);
  };
  table.xRandomness = [](sqlite3_vfs* v, int size, char* out) {
    return base_of(v)->xRandomness(base_of(v), size, out);
  };
  table.xSleep = [](sqlite3_vfs* v, int microseconds) { return base_of(v)->xSleep(base_of(v), microseconds); };
  table.xCurrentTime = [](sqlite3_vfs* v, double* now) { return base_of(v)->xCurrentTime(base_of(v), now); };
  table.xCurrentTimeInt64 = [](sqlite3_vfs* v, sqlite3_int64* now) {
    return base_of(v)->xCurrentTimeInt64(base_of(v), now);
  };
  table.xGetLastError = [](sqlite3_vfs* v, int, char*) { return vfs_of(v).last_error(); };
  return table;
}

}  // namespace linux_platform::per
