// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_DATABASE_H
#define PLATFORM_SRC_PER_DATABASE_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sqlite3.h>

#include "ara/per/exceptions.h"
#include "platform/src/per/changes.h"
#include "platform/src/per/statement.h"
#include "platform/src/per/store_summary.h"
#include "platform/src/per/store_vfs.h"

namespace linux_platform::per {

/// Others have the file open.
class Database_busy : public ara::per::ExceptionPhysicalStorageError {
 public:
  using ExceptionPhysicalStorageError::ExceptionPhysicalStorageError;
};

/// A store's file, open. Every failure is ExceptionPhysicalStorageError, with the cause as its text; the caller adds
/// which storage and key it was about. Used by one thread at a time.
class Database {
 public:
  /// Opens an existing file and checks its format; for writing also its structure and keys, page by page. Nothing is
  /// written, and a damaged file is left as it is. Waits up to `lock_wait` while others have it open.
  /// Database_busy when they still do. `vfs` outlives the object.
  Database(std::string const& file, Store_vfs& vfs, std::chrono::milliseconds lock_wait);
  ~Database();
  Database(Database const&) = delete;
  Database& operator=(Database const&) = delete;

  Store_summary const& summary() const noexcept { return summary_; }

  bool contains(std::string_view key);
  /// The record of `key`, if there is one.
  std::optional<std::vector<std::uint8_t>> record(std::string_view key);
  std::vector<std::string> keys();

  /// All of `changes`, and `total` as the store's totals, in one durable transaction; or nothing of it.
  void commit(Changes const& changes, Usage const& total);

 private:
  struct Close {
    void operator()(sqlite3* connection) const noexcept { sqlite3_close_v2(connection); }
  };
  struct Statements;

  int connect();
  void set_up();
  static int committed(void* self, sqlite3* connection, char const* name, int frames) noexcept;
  void check_structure();
  void check_keys();
  Store_summary read_summary();
  void apply(Changes const& changes, Store_summary& summary);
  void put(std::string_view key, std::vector<std::uint8_t> const& record, Store_summary& summary);
  void run(Statement& statement);
  int execute(char const* sql) noexcept;
  void expect(int expected, int result);

  std::string const file_;
  Store_vfs& vfs_;
  std::unique_ptr<sqlite3, Close> connection_;
  struct Delete_statements {
    void operator()(Statements* statements) const noexcept;
  };
  std::unique_ptr<Statements, Delete_statements> statements_;
  Store_summary summary_;
  /// Frames in the log after this object's last commit; 0 before the first.
  std::uint32_t log_frames_ = 0;
};

}  // namespace linux_platform::per

#endif
