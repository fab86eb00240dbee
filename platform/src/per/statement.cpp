// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/statement.h"

namespace linux_platform::per {

Statement::Statement(sqlite3* database, std::string_view sql) noexcept {
  sqlite3_stmt* made = nullptr;
  failure_ =
      sqlite3_prepare_v3(database, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT, &made, nullptr);
  statement_.reset(made);
}

Statement& Statement::bind(int index, std::string_view bytes) noexcept {
  // A null pointer would bind NULL instead of no bytes.
  void const* const data = bytes.empty() ? "" : bytes.data();
  auto const result = sqlite3_bind_blob64(statement_.get(), index, data, bytes.size(), SQLITE_STATIC);
  failure_ = failure_ == SQLITE_OK ? result : failure_;
  return *this;
}

Statement& Statement::bind(int index, std::uint8_t const* data, std::size_t size) noexcept {
  auto const result = sqlite3_bind_blob64(statement_.get(), index, data, size, SQLITE_STATIC);
  failure_ = failure_ == SQLITE_OK ? result : failure_;
  return *this;
}

int Statement::step() noexcept { return failure_ == SQLITE_OK ? sqlite3_step(statement_.get()) : failure_; }

std::string_view Statement::bytes(int column) const noexcept {
  // The order matters: asking for the bytes may change the column's representation, and so its size.
  auto const* const data = static_cast<char const*>(sqlite3_column_blob(statement_.get(), column));
  auto const size = sqlite3_column_bytes(statement_.get(), column);
  return data == nullptr ? std::string_view{} : std::string_view(data, static_cast<std::size_t>(size));
}

void Statement::reset() noexcept {
  sqlite3_reset(statement_.get());
  sqlite3_clear_bindings(statement_.get());
  if (statement_) {
    failure_ = SQLITE_OK;
  }
}

}  // namespace linux_platform::per
