// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/sqlite_failure.h"

#include <string_view>
#include <system_error>

#include <sqlite3.h>

namespace linux_platform::per {
namespace {

constexpr int primary_code_mask = 0xFF;

std::string_view in_words(int result) noexcept {
  switch (result & primary_code_mask) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return "it is in use by another process";
    case SQLITE_FULL:
      return "the medium is full";
    case SQLITE_CORRUPT:
    case SQLITE_ERROR:
    case SQLITE_SCHEMA:
    case SQLITE_FORMAT:
      return "the file is damaged";
    case SQLITE_NOTADB:
      return "the file is damaged or foreign";
    case SQLITE_READONLY:
      return "the file may not be written";
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return "no permission";
    case SQLITE_CANTOPEN:
      return "a file cannot be opened";
    case SQLITE_IOERR:
      return "the medium fails";
    case SQLITE_NOMEM:
      return "there is no memory left";
    case SQLITE_TOOBIG:
      return "key and value are too big for a store";
    default:
      return "the store fails";
  }
}

}  // namespace

std::string sqlite_cause(int result, int error) {
  auto text = std::string(in_words(result)) + " (" + sqlite3_errstr(result) + ", SQLite code " + std::to_string(result);
  if (error != 0) {
    text += ", " + std::generic_category().message(error);
  }
  return text + ")";
}

}  // namespace linux_platform::per
