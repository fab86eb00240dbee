// SPDX-License-Identifier: Apache-2.0
// What SyncToStorage costs beside SQLite used directly, with the same settings, for the same stored bytes and one
// record of counters in the same transaction. The bytes are those that the kernel has to write to the medium.
//   store_cost DATABASE ROUNDS     DATABASE is the file for SQLite alone
#include <array>
#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>

#include <sqlite3.h>

#include "ara/per/key_value_storage.h"
#include "bench/rounds.h"

namespace {

constexpr std::size_t value_size = 32;
constexpr int stored_value_size = 37;  // with type and checksum
constexpr int stored_counters_size = 52;
constexpr unsigned records = 15;
// Commits until both logs have grown to the size that they keep.
constexpr unsigned warming_up = 100;

std::string key(unsigned number) { return "application_" + std::to_string(10'000'000 + number); }

/// Bytes that this process has made the kernel write to a medium: whole pages, none of a memory file system.
std::uint64_t written() {
  std::ifstream counters("/proc/self/io");
  std::string name;
  std::uint64_t count = 0;
  while (counters >> name >> count) {
    if (name == "write_bytes:") {
      return count;
    }
  }
  throw std::runtime_error("/proc/self/io has no write_bytes");
}

/// SQLite by itself.
class Plain_store final {
 public:
  explicit Plain_store(char const* file) {
    check(sqlite3_open(file, &database_));
    for (auto const* sql : {"PRAGMA page_size=512", "PRAGMA locking_mode=EXCLUSIVE", "PRAGMA journal_mode=WAL",
                            "PRAGMA synchronous=FULL", "PRAGMA temp_store=MEMORY", "PRAGMA cell_size_check=ON",
                            "CREATE TABLE entries(key BLOB PRIMARY KEY NOT NULL, value BLOB NOT NULL) WITHOUT ROWID",
                            "CREATE TABLE summary(row INTEGER PRIMARY KEY, value BLOB NOT NULL)",
                            // As ours: about 137 KB of log.
                            "PRAGMA wal_autocheckpoint=256"}) {
      check(sqlite3_exec(database_, sql, nullptr, nullptr, nullptr));
    }
    put_ = prepared("INSERT OR REPLACE INTO entries VALUES(?1,?2)");
    count_ = prepared("INSERT OR REPLACE INTO summary VALUES(1,?1)");
    begin_ = prepared("BEGIN IMMEDIATE");
    commit_ = prepared("COMMIT");
  }
  ~Plain_store() {
    for (auto* statement : {put_, count_, begin_, commit_}) {
      sqlite3_finalize(statement);
    }
    sqlite3_close(database_);
  }
  Plain_store(Plain_store const&) = delete;
  Plain_store& operator=(Plain_store const&) = delete;

  void put(unsigned first, unsigned count, unsigned char fill) {
    std::array<unsigned char, stored_counters_size> bytes{};
    bytes.fill(fill);
    step(begin_);
    for (unsigned i = first; i < first + count; ++i) {
      auto const name = key(i);
      check(sqlite3_bind_blob(put_, 1, name.data(), static_cast<int>(name.size()), SQLITE_TRANSIENT));
      check(sqlite3_bind_blob(put_, 2, bytes.data(), stored_value_size, SQLITE_TRANSIENT));
      step(put_);
    }
    check(sqlite3_bind_blob(count_, 1, bytes.data(), stored_counters_size, SQLITE_TRANSIENT));
    step(count_);
    step(commit_);
  }

 private:
  void check(int result) const {
    if (result != SQLITE_OK) {
      throw std::runtime_error(std::string("SQLite: ") + sqlite3_errmsg(database_));
    }
  }
  sqlite3_stmt* prepared(char const* sql) {
    sqlite3_stmt* made = nullptr;
    check(sqlite3_prepare_v2(database_, sql, -1, &made, nullptr));
    return made;
  }
  void step(sqlite3_stmt* statement) const {
    if (sqlite3_step(statement) != SQLITE_DONE) {
      throw std::runtime_error(std::string("SQLite: ") + sqlite3_errmsg(database_));
    }
    sqlite3_reset(statement);
  }

  sqlite3* database_ = nullptr;
  sqlite3_stmt* put_ = nullptr;
  sqlite3_stmt* count_ = nullptr;
  sqlite3_stmt* begin_ = nullptr;
  sqlite3_stmt* commit_ = nullptr;
};

void put(ara::per::KeyValueStorage& storage, unsigned first, unsigned count, unsigned char fill) {
  std::array<unsigned char, value_size> value{};
  value.fill(fill);
  for (unsigned i = first; i < first + count; ++i) {
    storage.SetValue(key(i), ara::per::KvsType(value.data(), value.size()));
  }
  storage.SyncToStorage();
}

/// One of the two stores, and what it has written.
struct Measured {
  std::string name;
  std::function<void(unsigned first, unsigned count, unsigned char fill)> put;
  std::uint64_t bytes = 0;
};

void run(char const* file, std::size_t count) {
  Plain_store plain(file);
  ara::per::KeyValueStorage storage("bench");
  unsigned char fill = 0;
  for (unsigned const changed : {1U, records}) {
    std::array<Measured, 2> stores{Measured{"sqlite_", [&](auto... what) { plain.put(what...); }},
                                   Measured{"store_", [&](auto... what) { put(storage, what...); }}};
    bench::Rounds rounds;
    for (auto& store : stores) {
      for (unsigned i = 0; i < warming_up; ++i) {
        store.put(0, records, 0);
      }
      rounds.add(store.name + std::to_string(changed), [&, changed] {
        auto const before = written();
        store.put(0, changed, ++fill);
        store.bytes += written() - before;
      });
    }
    rounds.run(count, 8);
    for (auto const& store : stores) {
      std::cout << "bytes_" << store.name << changed << ' ' << store.bytes << " 0 0\n";
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 3) {
      throw std::runtime_error("usage: store_cost DATABASE ROUNDS");
    }
    run(argv[1], std::stoul(argv[2]));
  } catch (std::exception const& error) {
    std::cerr << "store_cost: " << error.what() << "\n";
    return 1;
  }
}
