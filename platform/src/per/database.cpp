// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/database.h"

#include <thread>

#include "platform/src/per/log_seal.h"
#include "platform/src/per/record_codec.h"
#include "platform/src/per/sqlite_failure.h"
#include "platform/src/per/store_format.h"

namespace linux_platform::per {
namespace {

using ara::per::ExceptionPhysicalStorageError;

constexpr std::chrono::milliseconds busy_poll_interval{5};
constexpr int primary_code_mask = 0xFF;

/// For every connection. The exclusive lock stands instead of shared memory beside the file, which would be written to
/// the medium; it is taken with the first access.
constexpr char const* common_settings =
    "PRAGMA locking_mode=EXCLUSIVE;"
    "PRAGMA mmap_size=0;"
    "PRAGMA cell_size_check=ON;"
    "PRAGMA trusted_schema=OFF;"
    "PRAGMA temp_store=MEMORY;";

/// For one that writes.
constexpr char const* writing_settings =
    "PRAGMA synchronous=FULL;"
    "PRAGMA wal_autocheckpoint=0;";

/// A log that has grown to this many frames, 137 KB, is copied into the file, and begins anew with the next commit.
/// Closing does not copy it: a session with one commit would write twice as much.
constexpr int longest_log = 256;

/// Who only reads takes a store's totals from whatever file an application has put there: so much of a value, and so
/// many steps of SQLite's machine for a statement, are many times what a store needs.
constexpr int longest_value_read = 4096;
constexpr int most_steps_read = 10'000;

int give_up(void* /*unused*/) noexcept { return 1; }

std::uint8_t const* data_of(std::string_view bytes) noexcept {
  return reinterpret_cast<std::uint8_t const*>(bytes.data());
}

}  // namespace

struct Database::Statements {
  explicit Statements(sqlite3* connection)
      : begin(connection, "BEGIN IMMEDIATE"),
        commit(connection, "COMMIT"),
        find(connection, "SELECT 1 FROM entries WHERE key=?1"),
        get(connection, "SELECT value FROM entries WHERE key=?1"),
        list(connection, "SELECT key FROM entries ORDER BY key"),
        update(connection, "UPDATE entries SET value=?2 WHERE key=?1"),
        insert(connection, "INSERT INTO entries VALUES(?1,?2)"),
        remove(connection, "DELETE FROM entries WHERE key=?1"),
        clear(connection, "DELETE FROM entries"),
        summary(connection, "SELECT value FROM summary WHERE row=1"),
        summarize(connection, "UPDATE summary SET value=?1 WHERE row=1") {}

  Statement begin;
  Statement commit;
  Statement find;
  Statement get;
  Statement list;
  Statement update;
  Statement insert;
  Statement remove;
  Statement clear;
  Statement summary;
  Statement summarize;
};

void Database::Delete_statements::operator()(Statements* statements) const noexcept { delete statements; }

Database::Database(std::string const& file, Store_vfs& vfs, std::chrono::milliseconds lock_wait)
    : file_(file), vfs_(vfs) {
  if (auto const finding = Store_format::check_header(file, vfs)) {
    throw ExceptionPhysicalStorageError(*finding);
  }
  auto const deadline = std::chrono::steady_clock::now() + lock_wait;
  auto result = connect();
  while ((result & primary_code_mask) == SQLITE_BUSY && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(busy_poll_interval);
    result = connect();
  }
  if ((result & primary_code_mask) == SQLITE_BUSY) {
    throw Database_busy(sqlite_cause(result, 0));
  }
  expect(SQLITE_OK, result);
  set_up();
}

Database::~Database() {
  if (log_frames_ != 0) {
    Log_seal::write(file_, log_frames_, vfs_);
  }
}

/// Opens the connection and takes the lock.
int Database::connect() {
  auto const flags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE |
                     (vfs_.access() == Store_vfs::Access::read_only ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE);
  sqlite3* opened = nullptr;
  auto const result = sqlite3_open_v2(file_.c_str(), &opened, flags, vfs_.name());
  connection_.reset(opened);
  if (result != SQLITE_OK) {
    return result;
  }
  for (auto const& [option, value] :
       {std::pair(SQLITE_DBCONFIG_DEFENSIVE, 1), std::pair(SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0),
        std::pair(SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1)}) {
    sqlite3_db_config(opened, option, value, nullptr);
  }
  if (vfs_.access() == Store_vfs::Access::read_only) {
    sqlite3_limit(opened, SQLITE_LIMIT_LENGTH, longest_value_read);
    sqlite3_progress_handler(opened, most_steps_read, give_up, nullptr);
  }
  if (auto const set = execute(common_settings); set != SQLITE_OK) {
    return set;
  }
  return execute("SELECT 1 FROM sqlite_schema");
}

void Database::set_up() {
  for (auto const& finding : {Log_seal::check(file_, vfs_), Store_format::check_tables(connection_.get())}) {
    if (finding) {
      throw ExceptionPhysicalStorageError(*finding);
    }
  }
  statements_.reset(new Statements(connection_.get()));
  summary_ = read_summary();
  if (vfs_.access() == Store_vfs::Access::read_only) {
    return;
  }
  expect(SQLITE_OK, execute(writing_settings));
  sqlite3_wal_hook(connection_.get(), committed, this);
  check_structure();
  check_keys();
}

int Database::committed(void* self, sqlite3* connection, char const*, int frames) noexcept {
  static_cast<Database*>(self)->log_frames_ = static_cast<std::uint32_t>(frames);
  if (frames >= longest_log) {
    // A failure costs nothing: everything is safe in the log, and the next commit tries again.
    sqlite3_wal_checkpoint_v2(connection, nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  }
  return SQLITE_OK;
}

void Database::check_structure() {
  Statement check(connection_.get(), "PRAGMA quick_check(1)");
  expect(SQLITE_ROW, check.step());
  if (auto const finding = check.bytes(0); finding != "ok") {
    throw ExceptionPhysicalStorageError("the file is damaged: " + std::string(finding));
  }
}

/// Every key is there, once, and where a search will find it.
void Database::check_keys() {
  Store_summary found;
  std::string last;
  Statement_use const list(statements_->list);
  auto result = list->step();
  for (; result == SQLITE_ROW; result = list->step()) {
    auto const key = list->bytes(0);
    // A key whose type was changed has its bytes still, and no search finds it.
    if (!list->is_blob(0) || (found.keys != 0 && key <= last)) {
      throw ExceptionPhysicalStorageError("the file is damaged: its keys are out of order");
    }
    found.add_key(key);
    last = key;
  }
  expect(SQLITE_DONE, result);
  if (found.keys != summary_.keys || found.digest != summary_.digest) {
    throw ExceptionPhysicalStorageError("the file is damaged: it has " + std::to_string(found.keys) +
                                        " keys, which are not the " + std::to_string(summary_.keys) + " stored ones");
  }
}

Store_summary Database::read_summary() {
  Statement_use const use(statements_->summary);
  auto const result = use->step();
  if (result != SQLITE_ROW && result != SQLITE_DONE) {
    expect(SQLITE_ROW, result);
  }
  auto const record = result == SQLITE_ROW ? use->bytes(0) : std::string_view{};
  auto const summary = Store_summary::decode(data_of(record), record.size());
  if (!summary) {
    throw ExceptionPhysicalStorageError("the file is damaged: the record about the store itself is not valid");
  }
  return *summary;
}

bool Database::contains(std::string_view key) {
  Statement_use const find(statements_->find);
  auto const result = find->bind(1, key).step();
  if (result != SQLITE_DONE) {
    expect(SQLITE_ROW, result);
  }
  return result == SQLITE_ROW;
}

std::optional<std::vector<std::uint8_t>> Database::record(std::string_view key) {
  Statement_use const get(statements_->get);
  auto const result = get->bind(1, key).step();
  if (result == SQLITE_DONE) {
    return std::nullopt;
  }
  expect(SQLITE_ROW, result);
  auto const bytes = get->bytes(0);
  return std::vector<std::uint8_t>(bytes.begin(), bytes.end());
}

std::vector<std::string> Database::keys() {
  std::vector<std::string> keys;
  Statement_use const list(statements_->list);
  auto result = list->step();
  for (; result == SQLITE_ROW; result = list->step()) {
    keys.emplace_back(list->bytes(0));
  }
  expect(SQLITE_DONE, result);
  return keys;
}

void Database::commit(Changes const& changes, Usage const& total) {
  auto summary = summary_;
  summary.total = total;
  run(statements_->begin);
  try {
    apply(changes, summary);
    auto const record = summary.encode();
    statements_->summarize.bind(1, record.data(), record.size());
    run(statements_->summarize);
    run(statements_->commit);
  } catch (...) {
    // SQLite has rolled back by itself after some errors, and then there is nothing to do.
    static_cast<void>(execute("ROLLBACK"));
    throw;
  }
  summary_ = summary;
}

void Database::apply(Changes const& changes, Store_summary& summary) {
  if (changes.clear) {
    run(statements_->clear);
    summary.remove_all_keys();
  }
  for (auto const& [key, value] : changes.values) {
    if (value) {
      put(key, Record_codec::encode(key, *value), summary);
      continue;
    }
    statements_->remove.bind(1, key);
    run(statements_->remove);
    if (sqlite3_changes(connection_.get()) != 0) {
      summary.remove_key(key);
    }
  }
}

void Database::put(std::string_view key, std::vector<std::uint8_t> const& record, Store_summary& summary) {
  statements_->update.bind(1, key).bind(2, record.data(), record.size());
  run(statements_->update);
  if (sqlite3_changes(connection_.get()) == 0) {
    statements_->insert.bind(1, key).bind(2, record.data(), record.size());
    run(statements_->insert);
    summary.add_key(key);
  }
}

void Database::run(Statement& statement) {
  Statement_use const use(statement);
  expect(SQLITE_DONE, use->step());
}

int Database::execute(char const* sql) noexcept {
  return sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr);
}

void Database::expect(int expected, int result) {
  if (result != expected) {
    throw ExceptionPhysicalStorageError(sqlite_cause(result, sqlite3_system_errno(connection_.get())));
  }
}

}  // namespace linux_platform::per
