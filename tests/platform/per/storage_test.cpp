// SPDX-License-Identifier: Apache-2.0
// A storage on real files: staging, keys, damage, and everything that can be in the way of opening one.

#include "tests/platform/per/machine.h"

namespace per_test {
namespace {

using testing::AllOf;
using testing::ElementsAre;

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
    EXPECT_THAT([&] { storage.GetValue("removed"); },
                ThrowsMessage<ExceptionLogicError>(
                    AllOf(HasSubstr("\"store\""), HasSubstr("\"removed\""), HasSubstr("no such key"))));
    EXPECT_THAT(storage.GetAllKeys(), ElementsAre("added", "kept"));
  }
  Storage dropped(machine.settings);
  EXPECT_EQ(dropped.get("kept"), "old") << "closing drops what is staged";
  EXPECT_THAT(dropped.GetAllKeys(), ElementsAre("kept", "removed"));
  dropped.RemoveAllKeys();
  dropped.put("after", "z");
  EXPECT_FALSE(dropped.HasKey("kept"));
  dropped.SyncToStorage();
  EXPECT_THAT(dropped.GetAllKeys(), ElementsAre("after"));
  EXPECT_THROW(dropped.SetValue("k", KvsType::damaged("d")), ExceptionLogicError);
}

TEST_F(A_storage, takes_any_text_as_a_key_and_large_values) {
  State const state{{"big", std::string(3000000, 'b')}, {"", "1"},         {"\0"s, "2"}, {std::string(10000, 'k'), "3"},
                    {"'; DROP TABLE entries; --", "4"}, {"\xFF\xFE", "5"}, {"/", "6"}};
  Storage storage(machine.settings);
  for (auto const& [key, value] : state) {
    storage.put(key, value);
  }
  storage.SyncToStorage();
  EXPECT_EQ(storage.all(), state);
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
}

TEST_F(A_storage, waits_for_another_process_and_is_then_refused_or_served) {
  Child other([&] {
    Storage const storage(machine.settings);
    machine.commit_once();
    raise(SIGSTOP);
  });
  other.await_stop();
  EXPECT_THAT([&] { Storage{machine.settings}; }, ThrowsMessage<ExceptionPhysicalStorageError>(AllOf(
                                                      HasSubstr("\"store\""), HasSubstr("in use by another process"))));
  machine.settings.lock_wait = std::chrono::seconds{60};
  other.go_on();
  EXPECT_EQ(Storage(machine.settings).get("k"), "v");
  EXPECT_EQ(other.exit_code(), 0);
}

TEST_F(A_storage, keeps_the_ordinary_tool_out_while_it_is_open_and_tells_what_it_damaged_afterwards) {
  auto const* const update = "UPDATE summary SET row=row";
  machine.commit_once();
  EXPECT_EQ((Storage(machine.settings), machine.as_tool(update)), SQLITE_BUSY);
  EXPECT_EQ(machine.as_tool(update), SQLITE_OK);
  EXPECT_EQ(Storage(machine.settings).get("k"), "v") << "also after the tool took the log away";
  ASSERT_EQ(machine.as_tool("UPDATE entries SET value=x'0200000000616263'"), SQLITE_OK);
  Storage storage(machine.settings);
  auto const value = storage.GetValue("k");
  EXPECT_THAT([&] { value.GetString(); },
              ThrowsMessage<ExceptionPhysicalStorageError>(
                  AllOf(HasSubstr("\"store\""), HasSubstr("\"app\""), HasSubstr("\"k\""), HasSubstr("checksum"))));
}

TEST_F(A_storage, refuses_what_is_no_store_and_leaves_it_as_it_is) {
  std::vector<std::pair<std::function<void(Machine const&)>, char const*>> const obstacles{
      {[](auto& m) { write_file(m.file(), std::string(5000, 'x')); }, "damaged or foreign"},
      {[](auto& m) { write_file(m.file(), ""); }, "too short"},
      {[](auto& m) { m.as_tool("PRAGMA application_id=1"); }, "application id"},
      {[](auto& m) { m.as_tool("PRAGMA user_version=7"); }, "another version: 7"},
      {[](auto& m) { m.as_tool("PRAGMA journal_mode=DELETE"); }, "header"},
      {[](auto& m) { m.as_tool("CREATE TABLE t(x)"); }, "foreign table"},
      {[](auto& m) { m.as_tool("DELETE FROM entries WHERE key=x'6B'"); }, "keys"},
      {[](auto& m) { m.as_tool("DELETE FROM summary"); }, "about the store itself"},
      {[](auto& m) {
         std::filesystem::remove(m.file());
         std::filesystem::create_directory(m.file());
       },
       "directory"},
  };
  for (auto const& [put, cause] : obstacles) {
    SCOPED_TRACE(cause);
    Machine fresh;
    fresh.commit_once();
    put(fresh);
    auto const before = read_file(fresh.file());
    EXPECT_THAT([&] { Storage{fresh.settings}; }, ThrowsMessage<ExceptionPhysicalStorageError>(AllOf(
                                                      HasSubstr("\"store\""), HasSubstr("\"app\""), HasSubstr(cause))));
    EXPECT_EQ(read_file(fresh.file()), before);
  }
}

TEST_F(A_storage, says_where_it_found_no_place) {
  std::vector<std::pair<std::function<void(per::Per_settings&)>, char const*>> const missing{
      {[](auto& s) { s.root += "/missing"; }, "root/missing"},
      {[](auto& s) { s.run_directory += "/missing"; }, "run/missing"},
      {[](auto& s) { s.group = "no such group"; }, "no such group"}};
  for (auto const& [spoil, text] : missing) {
    auto settings = machine.settings;
    spoil(settings);
    EXPECT_THAT([&] { Storage{settings}; },
                ThrowsMessage<ExceptionStorageLocationNotFound>(AllOf(HasSubstr("\"store\""), HasSubstr(text))));
  }
  EXPECT_THROW((Storage{machine.settings, "app", ""}), ExceptionLogicError);
  EXPECT_THROW((Storage{machine.settings, std::string(1000, 'a')}), ExceptionLogicError);
}

TEST_F(A_storage, that_is_open_needs_no_permission_any_more_and_others_are_refused) {
  Child user([&] {
    constexpr uid_t nobody = 65534;
    if (geteuid() == 0) {  // To root no door is closed.
      for (auto const& each : {machine.settings.root, machine.settings.run_directory}) {
        ASSERT_EQ(chown(each.c_str(), nobody, nobody), 0);
      }
      ASSERT_TRUE(setgid(nobody) == 0 && setuid(nobody) == 0);
    }
    {
      Storage storage(machine.settings);
      storage.put("k", "v");
      chmod(machine.folder().c_str(), 0);
      storage.SyncToStorage();
      EXPECT_THAT([&] { Storage(machine.settings, "app", "other"); },
                  ThrowsMessage<ExceptionStorageLocationNotFound>(HasSubstr("Permission denied")));
      chmod(machine.folder().c_str(), 0700);
    }
    chmod(machine.file().c_str(), 0400);
    EXPECT_THAT([&] { Storage{machine.settings}; },
                ThrowsMessage<ExceptionPhysicalStorageError>(HasSubstr("Permission denied")));
    chmod(machine.file().c_str(), 0600);
    EXPECT_EQ(Storage(machine.settings).get("k"), "v");
  });
  EXPECT_EQ(user.exit_code(), 0);
}

TEST_F(A_storage, is_closed_to_others_and_readable_for_its_group) {
  auto const rights = [](std::string const& path) {
    struct stat found {};
    stat(path.c_str(), &found);
    return std::pair(found.st_mode & 0777U, found.st_gid);
  };
  constexpr gid_t nogroup = 65534;
  auto const old_mask = umask(0);
  for (auto const is_shared : {false, geteuid() == 0}) {
    Machine fresh;
    fresh.settings.group = is_shared ? std::optional("nogroup"s) : std::nullopt;
    { Storage{fresh.settings}; }
    auto const group = is_shared ? nogroup : getegid();
    EXPECT_EQ(rights(fresh.folder()), std::pair(is_shared ? 0750U : 0700U, group));
    EXPECT_EQ(rights(fresh.file()), std::pair(is_shared ? 0640U : 0600U, group));
    EXPECT_EQ(rights(fresh.log()), std::pair(is_shared ? 0640U : 0600U, group));
    EXPECT_EQ(rights(fresh.counters()), std::pair(0640U, group));
  }
  umask(old_mask);
}

}  // namespace
}  // namespace per_test
