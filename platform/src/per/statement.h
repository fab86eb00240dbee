// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_STATEMENT_H
#define PLATFORM_SRC_PER_STATEMENT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <sqlite3.h>

namespace linux_platform::per {

/// A prepared statement, run again and again. Bound bytes have to live until `reset`.
class Statement {
 public:
  /// Does not throw: a statement that could not be prepared answers every step with the reason.
  Statement(sqlite3* database, std::string_view sql) noexcept;

  Statement& bind(int index, std::string_view bytes) noexcept;
  Statement& bind(int index, std::uint8_t const* data, std::size_t size) noexcept;
  /// SQLITE_ROW, SQLITE_DONE or an extended error code.
  int step() noexcept;
  /// The column's bytes; valid until the next step or reset.
  std::string_view bytes(int column) const noexcept;
  std::int64_t integer(int column) const noexcept { return sqlite3_column_int64(statement_.get(), column); }
  bool is_blob(int column) const noexcept { return sqlite3_column_type(statement_.get(), column) == SQLITE_BLOB; }
  void reset() noexcept;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
  };

  int failure_ = SQLITE_OK;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

/// Resets a statement at the end of a scope: its locks go, and the bytes bound to it need not live longer.
class Statement_use {
 public:
  explicit Statement_use(Statement& statement) noexcept : statement_(statement) {}
  ~Statement_use() { statement_.reset(); }
  Statement_use(Statement_use const&) = delete;
  Statement_use& operator=(Statement_use const&) = delete;

  Statement* operator->() const noexcept { return &statement_; }

 private:
  Statement& statement_;
};

}  // namespace linux_platform::per

#endif
