// SPDX-License-Identifier: Apache-2.0
// What the statistics service sees of who reads, writes and sets: from the constructor on, over kills, restarts and
// losses of the run directory, over several storages and processes of one application.

#include <sys/resource.h>

#include "tests/platform/per/recorded_medium.h"

namespace per_test {
namespace {

using per::Usage;
using per::Usage_reader;
using testing::SizeIs;

class Usage_of_an_application : public testing::Test {
 protected:
  /// One run of a process that ends in order, or by SIGKILL after its last commit.
  void run_process(bool killed, std::function<void()> const& work) const {
    Child process([&] {
      work();
      if (killed) {
        raise(SIGKILL);
      }
    });
    EXPECT_EQ(process.exit_code(), killed ? -1 : 0);
  }

  Machine machine;
};

TEST_F(Usage_of_an_application, is_seen_from_the_constructor_on_and_counts_every_byte_and_call) {
  Recorded_medium medium;
  Storage storage(machine.settings, "app", "store", medium);
  EXPECT_GT(medium.bytes(), 0U);
  EXPECT_EQ(machine.usage().session.write, medium.bytes()) << "making the store counts";
  storage.put("k", "12345");
  storage.put("k", "123456");
  EXPECT_EQ(storage.get("k"), "123456");
  storage.SyncToStorage();
  EXPECT_EQ(storage.get("k"), "123456");
  auto const usage = machine.usage();
  EXPECT_EQ(usage.session, (Usage{12, medium.bytes(), 2}));
  EXPECT_EQ(usage.total, usage.session);
}

TEST_F(Usage_of_an_application, does_not_make_who_only_reads_write) {
  machine.commit_once();
  Recorded_medium medium;
  EXPECT_EQ(Storage(machine.settings, "app", "store", medium).get("k"), "v");
  EXPECT_EQ(medium.steps.size(), 0U);
}

TEST_F(Usage_of_an_application, loses_nothing_by_a_kill_and_at_most_the_unsettled_by_a_power_cut) {
  for (bool const killed : {true, false}) {
    SCOPED_TRACE(killed ? "killed" : "ended");
    run_process(killed, [&] { machine.commit_once(); });
    auto const before = machine.usage();
    run_process(killed, [&] { Storage{machine.settings}; });
    auto const reopened = machine.usage();
    EXPECT_EQ(reopened.session.setvalue, 0U) << "another session";
    EXPECT_EQ(reopened.total, before.total + reopened.session);

    machine.lose_run_directory();
    auto const after_power_cut = machine.usage();
    EXPECT_EQ(after_power_cut.session, Usage{});
    EXPECT_LE(after_power_cut.total.write, before.total.write);
    EXPECT_EQ(after_power_cut.total.setvalue, before.total.setvalue) << "a set rides in its own commit";
    run_process(killed, [&] { machine.commit_once(); });
    auto const next = machine.usage();
    EXPECT_EQ(next.total, after_power_cut.total + next.session);
  }
}

TEST_F(Usage_of_an_application, never_goes_back_and_no_sync_comes_half_wherever_its_process_is_killed) {
  constexpr int syncs = 40;
  Usage last{};
  std::size_t steps = 0;
  for (auto ended = false; !ended; ++steps) {
    SCOPED_TRACE("killed before step " + std::to_string(steps));
    Child process([&] {
      Recorded_medium medium;
      medium.outcome = [=](std::size_t step) { return step > steps ? raise(SIGKILL) : 0; };
      Storage storage(machine.settings, "app", "store", medium);
      for (int sync = 0; sync < syncs; ++sync) {
        for (auto const* const key : {"one", "other"}) {
          storage.put(key, std::to_string(steps) + "." + std::to_string(sync));
        }
        storage.SyncToStorage();
      }
    });
    ended = process.exit_code() == 0;
    auto const state = Storage(machine.settings).all();
    ASSERT_TRUE(state.empty() || state.at("one") == state.at("other"));
    auto const total = machine.usage().total;
    ASSERT_TRUE(per::covers(total, last));
    last = total;
  }
  std::cout << steps - 1 << " kills\n";
}

TEST_F(Usage_of_an_application, is_the_sum_over_its_storages_and_living_processes) {
  auto const use = [&](char const* name, int sets) {
    Storage storage(machine.settings, "app", name);
    for (int i = 0; i < sets; ++i) {
      storage.put("k", "v");
    }
    storage.SyncToStorage();
  };
  run_process(false, [&] {
    use("a", 1);
    use("b", 2);
  });
  EXPECT_EQ(machine.usage().session.setvalue, 3U);

  Child living([&] {
    Storage storage(machine.settings, "app", "c");
    storage.put("k", "v");
    raise(SIGSTOP);
  });
  living.await_stop();
  EXPECT_EQ(machine.usage().session.setvalue, 1U) << "a new process begins the session anew, for all storages";
  run_process(false, [&] {
    use("a", 10);
    use("a", 20);
  });
  EXPECT_EQ(machine.usage().session.setvalue, 31U) << "beside one that lives, whose counts stay";
  EXPECT_EQ(machine.usage().total.setvalue, 34U);
  living.go_on();
}

TEST_F(Usage_of_an_application, is_right_or_reported_whatever_stands_in_the_place_of_the_counters) {
  machine.commit_once();
  auto const good = read_file(machine.counters());
  machine.lose_run_directory();
  auto const stored = machine.usage().total;
  struct Row {
    char const* name;
    std::function<void(char const*)> put;
    std::size_t findings = 1;
    bool repaired = true;
  };
  auto const content = [](std::string const& bytes) { return [=](char const* file) { write_file(file, bytes); }; };
  for (auto const& row :
       {Row{"empty", content(""), 0}, Row{"too short", content(good.substr(0, 87))},
        Row{"too long", content(good + "x")}, Row{"garbage", content(std::string(88, '\xFF'))},
        Row{"session beyond run", content(good.substr(0, 40) + std::string(24, 'x') + good.substr(64))},
        Row{"behind the store", content(good.substr(0, 16) + std::string(72, '\0'))},
        Row{"pipe", [](auto file) { mkfifo(file, 0600); }, 1, false},
        Row{"folder", [](auto file) { mkdir(file, 0700); }, 1, false},
        Row{"link", [](auto file) { std::filesystem::create_symlink("/dev/zero", file); }, 1, false}}) {
    SCOPED_TRACE(row.name);
    std::filesystem::create_directories(machine.settings.run_directory + "/app");
    std::filesystem::remove(machine.counters());
    row.put(machine.counters().c_str());
    auto const reading = Usage_reader(machine.settings).read();
    EXPECT_EQ(reading.applications.at(0).total, stored);
    EXPECT_EQ(reading.applications.at(0).session, Usage{});
    EXPECT_THAT(reading.findings, SizeIs(row.findings));
    if (row.repaired) {
      { Storage{machine.settings}; }
      auto const repaired = Usage_reader(machine.settings).read();
      EXPECT_EQ(repaired.applications.at(0).total, stored);
      EXPECT_THAT(repaired.findings, SizeIs(0));
      EXPECT_THAT(read_file(machine.counters()), SizeIs(good.size()));
    } else {
      EXPECT_ANY_THROW(Storage{machine.settings});
    }
  }
}

TEST_F(Usage_of_an_application, starts_over_with_a_store_that_was_made_anew) {
  machine.commit_once();
  std::filesystem::remove(machine.file());
  Storage storage(machine.settings);
  EXPECT_FALSE(storage.HasKey("k")) << "the log of the old store is not taken for the new one's";
  EXPECT_EQ(machine.usage().total.setvalue, 0U);
}

TEST(The_usage_reader, takes_what_is_a_storage_and_tells_of_the_rest_once) {
  Machine machine;
  std::filesystem::create_directory(machine.settings.root + "/%not escaped");
  mkfifo((machine.settings.root + "/pipe.db").c_str(), 0600);
  { Storage{machine.settings, "app/1"}; }
  { Storage{machine.settings, "b"}; }
  write_file(machine.settings.root + "/b/broken.db", "no store");
  mkfifo((machine.settings.root + "/b/pipe.db").c_str(), 0600);
  machine.lose_run_directory();
  Usage_reader reader(machine.settings);
  auto const reading = reader.read();
  ASSERT_THAT(reading.applications, SizeIs(2));
  EXPECT_EQ(reading.applications[0].application_id, "app/1");
  ASSERT_THAT(reading.findings, SizeIs(2));
  EXPECT_THAT(reading.findings[0], testing::AllOf(HasSubstr("broken.db"), HasSubstr("too short")));
  EXPECT_THAT(reader.read().findings, SizeIs(0)) << "each is told once";
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  auto const usual = std::exchange(files.rlim_cur, 0);
  setrlimit(RLIMIT_NOFILE, &files);
  EXPECT_THROW(reader.read(), std::system_error) << "not as if there were no applications";
  files.rlim_cur = usual;
  setrlimit(RLIMIT_NOFILE, &files);
  std::filesystem::remove_all(machine.settings.root);
  EXPECT_THROW(reader.read(), std::system_error);
}

TEST_F(Usage_of_an_application, is_that_of_the_store_that_is_there_now) {
  Machine other;
  machine.commit_once();
  for (int i = 0; i < 3; ++i) {
    other.commit_once();
  }
  Usage_reader reader(machine.settings);
  reader.read();
  // As a store that was made anew: in a file of the same number.
  write_file(machine.file(), read_file(other.file()));
  write_file(machine.log(), read_file(other.log()));
  write_file(machine.counters(), read_file(other.counters()));
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(reader.read().applications.at(0).total, other.usage().total);
  }
}

TEST_F(Usage_of_an_application, is_read_soon_however_long_its_log_is) {
  machine.commit_once();
  machine.lose_run_directory();
  auto const total = machine.usage().total;
  std::filesystem::resize_file(machine.log(), std::uintmax_t{1} << 40U);
  EXPECT_EQ(machine.usage().total, total);
}

}  // namespace
}  // namespace per_test
