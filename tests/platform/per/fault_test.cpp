// SPDX-License-Identifier: Apache-2.0
// Steps to the medium that fail, file systems that are full or read-only, and bits that flip: a storage has what it
// should have, or says why not.
#include <sys/mount.h>

#include <sqlite3.h>

#include "tests/platform/per/recorded_medium.h"

namespace per_test {
namespace {

TEST(A_storage_whose_medium_fails, keeps_what_is_staged_and_syncs_it_later) {
  constexpr std::size_t syncs = 90;  // enough to copy the log into the store
  std::size_t failed = 0;
  for (auto const& [result, cause] : {std::pair(SQLITE_FULL, "full"), std::pair(SQLITE_IOERR_FSYNC, "medium fails"),
                                      std::pair(SQLITE_IOERR_WRITE, "medium fails")}) {
    Machine machine;
    Recorded_medium medium;
    State state;
    auto storage = std::make_unique<Storage>(machine.settings, "app", "store", medium);
    for (std::size_t sync = 0; sync < syncs; ++sync) {
      SCOPED_TRACE(std::string(cause) + " at sync " + std::to_string(sync));
      storage->stage(state, sync);
      auto const first = medium.steps.size() + 1 + sync % 9;
      medium.outcome = [&failed, first, only_one = sync % 2 != 0, failure = result](std::size_t step) {
        auto const fails = only_one ? step == first : step >= first;
        failed += fails ? 1U : 0U;
        return fails ? failure : 0;
      };
      try {
        storage->SyncToStorage();
      } catch (ExceptionPhysicalStorageError const& e) {
        EXPECT_THAT(e.what(), HasSubstr(cause));
        EXPECT_EQ(storage->all(), state) << "what is staged is still seen";
        medium.outcome = Recorded_medium::success;
        storage->SyncToStorage();
      }
      medium.outcome = Recorded_medium::success;
      EXPECT_EQ(storage->all(), state);
    }
    storage.reset();
    EXPECT_EQ(Storage(machine.settings).all(), state) << "nothing is left of the failed ones";
  }
  std::cout << failed << " failed steps\n";
}

TEST(A_storage_whose_medium_fails, is_refused_or_made_whole_when_it_is_made) {
  std::size_t steps = 0;
  for (auto made = false; !made; ++steps) {
    SCOPED_TRACE(steps);
    Machine machine;
    Recorded_medium medium;
    medium.outcome = [=](std::size_t step) { return step > steps ? SQLITE_FULL : 0; };
    try {
      Storage const storage(machine.settings, "app", "store", medium);
      made = true;
    } catch (ExceptionPhysicalStorageError const& e) {
      EXPECT_THAT(e.what(), HasSubstr("full"));
    }
    EXPECT_TRUE(Storage(machine.settings).all().empty());
  }
}

TEST(A_storage_on_a_file_system, that_is_full_or_read_only_loses_nothing) {
  if (geteuid() != 0) {
    return;  // Mounting needs root; the failing steps stand for it.
  }
  Machine machine;
  auto const* const root = machine.settings.root.c_str();
  ASSERT_EQ(mount("tmpfs", root, "tmpfs", 0, "size=256k,mode=755"), 0);
  machine.commit_once();
  {
    Storage storage(machine.settings);
    write_file(machine.settings.root + "/ballast", std::string(1U << 20U, 'x'));
    storage.put("k", std::string(100000, 'n'));
    EXPECT_THAT([&] { storage.SyncToStorage(); }, ThrowsMessage<ExceptionPhysicalStorageError>(
                                                      testing::AllOf(HasSubstr("\"store\""), HasSubstr("full"))));
    EXPECT_EQ(storage.get("k").size(), 100000U);
    EXPECT_THROW((Storage{machine.settings, "other"}), ExceptionPhysicalStorageError);
    std::filesystem::remove(machine.settings.root + "/ballast");
    storage.SyncToStorage();
  }
  ASSERT_EQ(mount(nullptr, root, nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
  EXPECT_THAT([&] { Storage{machine.settings}; }, ThrowsMessage<ExceptionPhysicalStorageError>(HasSubstr("Read-only")));
  EXPECT_GT(machine.usage().total.setvalue, 0U) << "who only reads can";
  ASSERT_EQ(mount(nullptr, root, nullptr, MS_REMOUNT, nullptr), 0);
  EXPECT_EQ(Storage(machine.settings).get("k").size(), 100000U);
  umount2(root, MNT_DETACH);
}

constexpr std::size_t keys = 12;

/// Every key has its value, or says that it is damaged, or the storage refuses to open.
void expect_no_wrong_value(Machine const& machine) {
  try {
    Storage const storage(machine.settings);
    EXPECT_EQ(storage.GetAllKeys().size(), keys);
    for (std::size_t i = 0; i < keys; ++i) {
      try {
        EXPECT_EQ(storage.get("key " + std::to_string(i)), "value " + std::to_string(i));
      } catch (ExceptionPhysicalStorageError const&) {
      }
    }
  } catch (ExceptionPhysicalStorageError const&) {
  }
}

TEST(A_storage_with_damage, never_gives_a_wrong_value_whatever_bit_flips_or_byte_is_missing) {
  Machine machine;
  for (auto const* const value : {"first", "value "}) {
    Storage storage(machine.settings);
    for (std::size_t i = 0; i < keys; ++i) {
      storage.put("key " + std::to_string(i), value + std::to_string(i));
    }
    storage.SyncToStorage();
  }
  auto const with_log = read_file(machine.file());
  auto const log = read_file(machine.log());
  machine.as_tool("PRAGMA wal_checkpoint(TRUNCATE)");
  auto const alone = read_file(machine.file());

  auto const flip_all = [&](std::string const& file, std::string const& content) {
    for (std::size_t at = 0; at < content.size() && !testing::Test::HasFailure(); ++at) {
      SCOPED_TRACE(file + " at byte " + std::to_string(at));
      std::fstream bytes(file, std::ios::in | std::ios::out | std::ios::binary);
      bytes.seekp(static_cast<std::streamoff>(at)).put(static_cast<char>(content[at] ^ (1 << at % 8))).flush();
      expect_no_wrong_value(machine);
      bytes.seekp(static_cast<std::streamoff>(at)).put(content[at]).flush();
    }
  };
  std::filesystem::remove(machine.log());
  flip_all(machine.file(), alone);
  for (std::size_t size = 0; size < alone.size(); size += 61) {
    write_file(machine.file(), alone.substr(0, size));
    EXPECT_THROW(Storage{machine.settings}, ExceptionPhysicalStorageError) << size;
    EXPECT_EQ(read_file(machine.file()).size(), size);
  }
  write_file(machine.file(), with_log);
  write_file(machine.log(), log);
  flip_all(machine.log(), log);
  std::cout << alone.size() + log.size() << " flipped bits\n";
}

}  // namespace
}  // namespace per_test
