// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/store_format.h"

#include <array>
#include <memory>
#include <string_view>
#include <system_error>

#include "ara/per/exceptions.h"
#include "platform/src/per/statement.h"
#include "platform/src/per/store_file.h"
#include "platform/src/per/store_summary.h"

namespace linux_platform::per {
namespace {

constexpr std::string_view create_entries =
    "CREATE TABLE entries(key BLOB PRIMARY KEY NOT NULL, value BLOB NOT NULL) WITHOUT ROWID";
constexpr std::string_view create_summary = "CREATE TABLE summary(row INTEGER PRIMARY KEY, value BLOB NOT NULL)";
constexpr int entries_root = 2;
constexpr int summary_root = 3;

/// The SQLite database header (sqlite.org/fileformat2.html, section 1.3); its numbers are big-endian.
constexpr int header_size = 100;
constexpr std::string_view header_text("SQLite format 3\0", 16);
constexpr std::size_t page_size_at = 16;
constexpr std::size_t write_version_at = 18;
constexpr std::size_t read_version_at = 19;
constexpr std::size_t reserved_at = 20;
constexpr std::size_t user_version_at = 60;
constexpr std::size_t application_id_at = 68;

constexpr std::uint8_t write_ahead_log = 2;
/// "fwPS".
constexpr std::uint32_t application_id = 0x66775053;
constexpr std::uint32_t format_version = 1;

using Header = std::array<unsigned char, header_size>;

std::uint32_t big_endian(Header const& header, std::size_t at, std::size_t size) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < size; ++i) {
    value = value << 8U | header.at(at + i);
  }
  return value;
}

std::optional<std::string> finding(Header const& header) {
  if (std::string_view(reinterpret_cast<char const*>(header.data()), header_text.size()) != header_text) {
    return "the file is damaged or foreign: it is no SQLite database";
  }
  if (auto const id = big_endian(header, application_id_at, 4); id != application_id) {
    return "the file is damaged or foreign: its application id is " + std::to_string(id);
  }
  if (auto const version = big_endian(header, user_version_at, 4); version != format_version) {
    return "the file is damaged or of another version: " + std::to_string(version) + ", not " +
           std::to_string(format_version);
  }
  if (header[write_version_at] != write_ahead_log || header[read_version_at] != write_ahead_log ||
      big_endian(header, page_size_at, 2) != Store_format::page_size || header[reserved_at] != 0) {
    return "the file is damaged: its header does not fit a store";
  }
  return std::nullopt;
}

struct Close {
  void operator()(sqlite3* database) const noexcept { sqlite3_close(database); }
};
using Memory_database = std::unique_ptr<sqlite3, Close>;

Memory_database open_in_memory() {
  sqlite3* made = nullptr;
  auto const result = sqlite3_open_v2(":memory:", &made, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  Memory_database database(made);
  if (result != SQLITE_OK) {
    throw std::bad_alloc();
  }
  return database;
}

void run(sqlite3* database, std::string const& sql) {
  if (sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
    throw ara::per::ExceptionPhysicalStorageError(std::string("a new store cannot be laid out: ") +
                                                  sqlite3_errmsg(database));
  }
}

struct Free {
  void operator()(unsigned char* memory) const noexcept { sqlite3_free(memory); }
};

}  // namespace

std::vector<std::uint8_t> Store_format::new_file(std::uint64_t store_id) {
  Store_summary summary;
  summary.store_id = store_id;
  auto const record = summary.encode();

  auto const database = open_in_memory();
  run(database.get(), "PRAGMA page_size=" + std::to_string(page_size) + ";PRAGMA application_id=" +
                          std::to_string(application_id) + ";PRAGMA user_version=" + std::to_string(format_version) +
                          ";" + std::string(create_entries) + ";" + std::string(create_summary));
  Statement insert(database.get(), "INSERT INTO summary VALUES(1,?1)");
  if (insert.bind(1, record.data(), record.size()).step() != SQLITE_DONE) {
    throw std::bad_alloc();
  }
  sqlite3_int64 size = 0;
  std::unique_ptr<unsigned char, Free> const image(sqlite3_serialize(database.get(), "main", &size, 0));
  if (image == nullptr) {
    throw std::bad_alloc();
  }
  std::vector<std::uint8_t> file(image.get(), image.get() + size);
  // A database in memory cannot be switched to the write-ahead log; in a file, these two bytes are the switch.
  file.at(write_version_at) = write_ahead_log;
  file.at(read_version_at) = write_ahead_log;
  return file;
}

std::optional<std::string> Store_format::check_header(std::string const& file, Store_vfs& vfs) {
  Store_file opened(vfs, file.c_str());
  if (opened.open() != SQLITE_OK) {
    return "the file cannot be opened: " + std::generic_category().message(vfs.last_error());
  }
  Header header{};
  auto const result = opened.read(header.data(), header_size, 0);
  if (result == SQLITE_IOERR_SHORT_READ) {
    return "the file is damaged: it is too short";
  }
  return result == SQLITE_OK ? finding(header)
                             : "the file cannot be read: " + std::generic_category().message(vfs.last_error());
}

std::optional<std::string> Store_format::check_tables(sqlite3* database) {
  struct Table {
    int root;
    std::string_view sql;
  };
  constexpr std::array<Table, 2> expected{{{entries_root, create_entries}, {summary_root, create_summary}}};
  Statement tables(database, "SELECT rootpage, sql FROM sqlite_schema ORDER BY rootpage");
  for (auto const& table : expected) {
    if (tables.step() != SQLITE_ROW || tables.integer(0) != table.root || tables.bytes(1) != table.sql) {
      return "the file is damaged: its tables are not those of a store";
    }
  }
  return tables.step() == SQLITE_DONE ? std::nullopt
                                      : std::optional<std::string>("the file is damaged: it has a foreign table");
}

}  // namespace linux_platform::per
