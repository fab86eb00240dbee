// SPDX-License-Identifier: Apache-2.0
// A storage on real files: staging, keys, damage, and everything that can be in the way of opening one.
#include <fcntl.h>
#include <sys/mount.h>

#include <gmock/gmock.h>
#include <sqlite3.h>

#include "tests/platform/per/machine.h"

namespace {

using ara::per::ExceptionLogicError;
using ara::per::ExceptionPhysicalStorageError;
using ara::per::ExceptionStorageLocationNotFound;
using ara::per::KvsType;
using per_test::Child;
using per_test::Machine;
using per_test::read_file;
using per_test::Signpost;
using per_test::Storage;
using per_test::text_of;
using per_test::write_file;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using Keys = std::vector<std::string>;

class A_storage : public testing::Test {
 protected:
  Machine machine;
};

TEST_F(A_storage, reads_what_is_staged_and_keeps_what_is_synced) {
  {
    Storage storage(machine.settings);
    storage.put("kept", "old");
    storage.put("removed", "x");
    storage.SyncToStorage();
    storage.put("kept", "new");
    storage.put("added", "y");
    storage.RemoveKey("removed");
    storage.RemoveKey("never there");
    EXPECT_EQ(storage.get("kept"), "new");
    EXPECT_FALSE(storage.HasKey("removed"));
    EXPECT_THAT(text_of<ExceptionLogicError>([&] { storage.GetValue("removed"); }),
                AllOf(HasSubstr("\"store\""), HasSubstr("\"removed\""), HasSubstr("no such key")));
    EXPECT_THAT(storage.GetAllKeys(), ElementsAre("added", "kept"));
  }
  Storage dropped(machine.settings);
  EXPECT_EQ(dropped.get("kept"), "old") << "closing drops what is staged";
  EXPECT_THAT(dropped.GetAllKeys(), ElementsAre("kept", "removed"));
  dropped.RemoveAllKeys();
  dropped.put("after", "z");
  EXPECT_THAT(dropped.GetAllKeys(), ElementsAre("after"));
  EXPECT_FALSE(dropped.HasKey("kept"));
  dropped.SyncToStorage();
  EXPECT_THAT(dropped.GetAllKeys(), ElementsAre("after"));
  EXPECT_THROW(dropped.SetValue("k", KvsType::damaged("d")), ExceptionLogicError);
}

TEST_F(A_storage, takes_any_text_as_a_key) {
  Keys const keys{"", std::string("\0", 1), std::string(10000, 'k'), "'; DROP TABLE entries; --", "\"", "\xFF\xFE",
                  "/"};
  {
    Storage storage(machine.settings);
    for (auto const& key : keys) {
      storage.put(key, "value of " + key);
    }
    storage.put("big", std::string(3000000, 'b'));
    storage.SyncToStorage();
  }
  Storage storage(machine.settings);
  for (auto const& key : keys) {
    EXPECT_EQ(storage.get(key), "value of " + key);
  }
  EXPECT_EQ(storage.get("big").size(), 3000000U);
  EXPECT_EQ(storage.GetAllKeys().size(), keys.size() + 1);
}

TEST_F(A_storage, is_one_for_all_who_open_it_in_a_process) {
  Storage first(machine.settings);
  {
    Storage second(machine.settings);
    second.put("k", "v");
    EXPECT_FALSE(first.HasKey("k")) << "each stages for itself";
    second.SyncToStorage();
  }
  EXPECT_EQ(first.get("k"), "v");
  first.put("k", "w");
  first.SyncToStorage();
  EXPECT_EQ(Storage(machine.settings).get("k"), "w");
}

TEST_F(A_storage, waits_for_another_process_and_is_then_refused_or_served) {
  Signpost opened;
  Signpost end;
  Child other([&] {
    Storage storage(machine.settings);
    storage.put("k", "theirs");
    storage.SyncToStorage();
    opened.reach();
    end.wait();
  });
  opened.wait();
  EXPECT_THAT(text_of<ExceptionPhysicalStorageError>([&] { Storage{machine.settings}; }),
              AllOf(HasSubstr("\"store\""), HasSubstr("in use by another process")));
  machine.settings.lock_wait = std::chrono::seconds{60};
  end.reach();
  EXPECT_EQ(Storage(machine.settings).get("k"), "theirs");
  EXPECT_EQ(other.exit_code(), 0);
}

TEST_F(A_storage, keeps_the_ordinary_tool_out_while_it_is_open_and_lets_it_in_afterwards) {
  auto const check = [&] {
    sqlite3* tool = nullptr;
    sqlite3_open_v2(machine.file().c_str(), &tool, SQLITE_OPEN_READWRITE, nullptr);
    auto const result = sqlite3_exec(tool, "UPDATE summary SET row=row", nullptr, nullptr, nullptr);
    sqlite3_close(tool);
    return result;
  };
  {
    Storage storage(machine.settings);
    storage.put("k", "v");
    storage.SyncToStorage();
    EXPECT_EQ(check(), SQLITE_BUSY);
  }
  EXPECT_EQ(check(), SQLITE_OK);
  EXPECT_EQ(Storage(machine.settings).get("k"), "v") << "also after the tool took the log away";
}

TEST_F(A_storage, reports_a_damaged_value_with_the_value_and_serves_the_others) {
  {
    Storage storage(machine.settings);
    storage.put("good", "intact");
    storage.put("bad", "to be damaged");
    storage.SyncToStorage();
  }
  sqlite3* tool = nullptr;
  sqlite3_open(machine.file().c_str(), &tool);
  ASSERT_EQ(sqlite3_exec(tool, "UPDATE entries SET value=x'0200000000616263' WHERE key=CAST('bad' AS BLOB)", nullptr,
                         nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(tool);
  Storage storage(machine.settings);
  EXPECT_TRUE(storage.HasKey("bad"));
  auto const value = storage.GetValue("bad");
  EXPECT_THAT(text_of<ExceptionPhysicalStorageError>([&] { value.GetString(); }),
              AllOf(HasSubstr("\"store\""), HasSubstr("\"app\""), HasSubstr("\"bad\""), HasSubstr("checksum")));
  EXPECT_EQ(storage.get("good"), "intact");
}

/// Every key has the value it should have, or says that it is damaged, or the storage refuses to open, and nothing
/// changed on the medium.
void expect_no_wrong_value(Machine const& machine, std::size_t keys) {
  try {
    Storage const storage(machine.settings);
    EXPECT_EQ(storage.GetAllKeys().size(), keys);
    for (std::size_t i = 0; i < keys; ++i) {
      auto const key = "key " + std::to_string(i);
      ASSERT_TRUE(storage.HasKey(key));
      auto const value = storage.GetValue(key);
      try {
        EXPECT_EQ(value.GetString(), "value " + std::to_string(i));
      } catch (ExceptionPhysicalStorageError const&) {
      }
    }
  } catch (ExceptionPhysicalStorageError const&) {
  }
}

TEST_F(A_storage, never_gives_a_wrong_value_whatever_bit_flips_or_byte_is_missing) {
  constexpr std::size_t keys = 12;
  {
    Storage storage(machine.settings);
    for (std::size_t i = 0; i < keys; ++i) {
      storage.put("key " + std::to_string(i), "first");
    }
    storage.SyncToStorage();
    for (std::size_t i = 0; i < keys; ++i) {
      storage.put("key " + std::to_string(i), "value " + std::to_string(i));
    }
    storage.SyncToStorage();
  }
  auto const with_log = read_file(machine.file());
  auto const log = read_file(machine.log());
  sqlite3* tool = nullptr;
  sqlite3_open(machine.file().c_str(), &tool);
  sqlite3_exec(tool, "PRAGMA wal_checkpoint(TRUNCATE)", nullptr, nullptr, nullptr);
  sqlite3_close(tool);
  auto const alone = read_file(machine.file());

  auto const try_all = [&](std::string const& file, std::string const& content) {
    for (std::size_t at = 0; at < content.size(); ++at) {
      SCOPED_TRACE(file + " at byte " + std::to_string(at));
      std::fstream bytes(file, std::ios::in | std::ios::out | std::ios::binary);
      bytes.seekp(static_cast<std::streamoff>(at)).put(static_cast<char>(content[at] ^ (1 << at % 8))).flush();
      expect_no_wrong_value(machine, keys);
      bytes.seekp(static_cast<std::streamoff>(at)).put(content[at]).flush();
      if (HasFailure()) {
        return;
      }
    }
  };
  std::filesystem::remove(machine.log());
  try_all(machine.file(), alone);
  for (std::size_t size = 0; size < alone.size(); size += 61) {
    write_file(machine.file(), alone.substr(0, size));
    EXPECT_THROW(Storage{machine.settings}, ExceptionPhysicalStorageError) << size;
    EXPECT_EQ(read_file(machine.file()).size(), size);
  }
  write_file(machine.file(), with_log);
  write_file(machine.log(), log);
  try_all(machine.log(), log);
}

struct Obstacle {
  char const* name;
  std::function<void(Machine const&)> put;
  char const* cause;
};

TEST_F(A_storage, refuses_what_is_no_store_and_leaves_it_as_it_is) {
  auto const as_tool = [](Machine const& m, char const* sql) {
    sqlite3* tool = nullptr;
    sqlite3_open(m.file().c_str(), &tool);
    ASSERT_EQ(sqlite3_exec(tool, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(tool);
    sqlite3_close(tool);
  };
  std::vector<Obstacle> const obstacles{
      {"text", [](auto& m) { write_file(m.file(), std::string(5000, 'x')); }, "damaged or foreign"},
      {"nothing", [](auto& m) { write_file(m.file(), ""); }, "too short"},
      {"another database",
       [&](auto& m) {
         std::filesystem::remove(m.file());
         as_tool(m, "CREATE TABLE t(x)");
       },
       "application id"},
      {"another version", [&](auto& m) { as_tool(m, "PRAGMA user_version=7"); }, "another version: 7"},
      {"another journal", [&](auto& m) { as_tool(m, "PRAGMA journal_mode=DELETE"); }, "header"},
      {"another table", [&](auto& m) { as_tool(m, "CREATE TABLE t(x)"); }, "foreign table"},
      {"a key less", [&](auto& m) { as_tool(m, "DELETE FROM entries WHERE key=x'6B'"); }, "keys"},
      {"no summary", [&](auto& m) { as_tool(m, "DELETE FROM summary"); }, "about the store itself"},
      {"a folder",
       [](auto& m) {
         std::filesystem::remove(m.file());
         std::filesystem::create_directory(m.file());
       },
       "directory"},
  };
  for (auto const& obstacle : obstacles) {
    SCOPED_TRACE(obstacle.name);
    Machine fresh;
    {
      Storage storage(fresh.settings);
      storage.put("k", "v");
      storage.put("l", "w");
      storage.SyncToStorage();
    }
    obstacle.put(fresh);
    auto const before = read_file(fresh.file());
    EXPECT_THAT(text_of<ExceptionPhysicalStorageError>([&] { Storage{fresh.settings}; }),
                AllOf(HasSubstr("\"store\""), HasSubstr("\"app\""), HasSubstr(obstacle.cause)));
    EXPECT_EQ(read_file(fresh.file()), before);
  }
}

/// Runs as an ordinary user: to root no door is closed.
int as_ordinary_user(Machine const& machine, std::function<void()> const& work) {
  constexpr uid_t nobody = 65534;
  Child child([&] {
    if (geteuid() == 0) {
      for (auto const& each : std::filesystem::recursive_directory_iterator(machine.settings.root)) {
        ASSERT_EQ(lchown(each.path().c_str(), nobody, nobody), 0);
      }
      for (auto const& each : {machine.settings.root, machine.settings.run_directory}) {
        ASSERT_EQ(chown(each.c_str(), nobody, nobody), 0);
      }
      if (setgid(nobody) != 0 || setuid(nobody) != 0) {
        throw std::runtime_error("cannot become an ordinary user");
      }
    }
    work();
    if (testing::Test::HasFailure()) {
      throw std::runtime_error("see above");
    }
  });
  return child.exit_code();
}

TEST_F(A_storage, says_where_it_found_no_place_or_no_permission) {
  { Storage{machine.settings}; }
  machine.lose_run_directory();
  auto const expect_location = [](per_test::per::Per_settings const& settings, std::string const& text) {
    EXPECT_THAT(text_of<ExceptionStorageLocationNotFound>([&] { Storage{settings}; }),
                AllOf(HasSubstr("\"store\""), HasSubstr(text)));
  };
  auto missing = machine.settings;
  missing.root += "/missing";
  expect_location(missing, "root/missing");
  auto no_run = machine.settings;
  no_run.run_directory += "/missing";
  expect_location(no_run, "run/missing");
  auto no_group = machine.settings;
  no_group.group = "no such group";
  expect_location(no_group, "no such group");
  EXPECT_THROW((Storage{machine.settings, "app", ""}), ExceptionLogicError);
  EXPECT_THROW((Storage{machine.settings, std::string(1000, 'a')}), ExceptionLogicError);

  EXPECT_EQ(as_ordinary_user(machine,
                             [&] {
                               { Storage{machine.settings}; }
                               chmod(machine.file().c_str(), 0400);
                               EXPECT_THAT(text_of<ExceptionPhysicalStorageError>([&] { Storage{machine.settings}; }),
                                           HasSubstr("Permission denied"));
                               chmod(machine.folder().c_str(), 0);
                               expect_location(machine.settings, "Permission denied");
                               chmod(machine.folder().c_str(), 0700);
                             }),
            0);
}

TEST_F(A_storage, is_closed_to_others_and_readable_for_its_group) {
  auto const mode = [](std::string const& path) {
    struct stat status {};
    stat(path.c_str(), &status);
    return status.st_mode & 07777U;
  };
  auto const old_mask = umask(0);
  { Storage{machine.settings}; }
  EXPECT_EQ(mode(machine.folder()), 0700U);
  EXPECT_EQ(mode(machine.file()), 0600U);
  if (geteuid() == 0) {
    Machine shared;
    shared.settings.group = "nogroup";
    { Storage{shared.settings}; }
    EXPECT_EQ(mode(shared.folder()), 0750U);
    for (auto const& file : {shared.file(), shared.log(), shared.counters()}) {
      EXPECT_EQ(mode(file), 0640U);
    }
    EXPECT_EQ(shared.usage().application_id, "app");
  }
  umask(old_mask);
}

TEST_F(A_storage, serves_everything_from_a_file_system_that_is_full_and_syncs_when_there_is_room_again) {
  if (geteuid() != 0) {
    return;  // Mounting needs root; the failing steps of the fault tests stand for it.
  }
  ASSERT_EQ(mount("tmpfs", machine.settings.root.c_str(), "tmpfs", 0, "size=256k,mode=755"), 0);
  {
    Storage storage(machine.settings);
    storage.put("k", "old");
    storage.SyncToStorage();
    auto const ballast = machine.settings.root + "/ballast";
    write_file(ballast, std::string(1U << 20U, 'x'));
    storage.put("k", std::string(100000, 'n'));
    EXPECT_THAT(text_of<ExceptionPhysicalStorageError>([&] { storage.SyncToStorage(); }),
                AllOf(HasSubstr("\"store\""), HasSubstr("full")));
    EXPECT_EQ(storage.get("k").size(), 100000U);
    EXPECT_THROW((Storage{machine.settings, "other"}), ExceptionPhysicalStorageError);
    std::filesystem::remove(ballast);
    storage.SyncToStorage();
  }
  EXPECT_EQ(Storage(machine.settings).get("k").size(), 100000U);
  umount2(machine.settings.root.c_str(), MNT_DETACH);
}

}  // namespace
