// SPDX-License-Identifier: Apache-2.0
// A process that sets and syncs is killed at random instants: every key then has the value of the last sync or of the
// one that was under way, all keys the same, and no counter has gone back.
#include <atomic>
#include <random>
#include <sys/mman.h>
#include <thread>

#include "tests/platform/per/machine.h"

namespace per_test {
namespace {

constexpr int kills = 200;
constexpr std::size_t keys = 8;
/// One life in so many is cut off from its beginning on, so that opening is hit too; the others after their first sync.
constexpr int early_kill = 4;
/// Some commits long.
constexpr int longest_life_us = 8000;

/// What the writer tells of its progress, in memory that outlives it.
struct Progress {
  std::atomic<std::uint64_t> begun{0};
  std::atomic<std::uint64_t> synced{0};
};

/// It stops itself after its first sync.
void write_until_killed(Machine const& machine, Progress& progress) {
  Storage storage(machine.settings);
  auto const first = progress.begun + 1;
  for (auto round = first;; ++round) {
    for (std::size_t key = 0; key < keys; ++key) {
      storage.put(std::to_string(key), std::to_string(round));
    }
    progress.begun = round;
    storage.SyncToStorage();
    progress.synced = round;
    if (round == first) {
      raise(SIGSTOP);
    }
  }
}

TEST(A_storage_whose_process_is_killed, has_what_was_synced_or_what_was_being_synced) {
  Machine machine(std::filesystem::temp_directory_path());
  machine.settings.lock_wait = std::chrono::seconds{10};
  auto& progress =
      *new (mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Progress;
  std::mt19937 random(static_cast<unsigned>(getpid()));
  per::Usage last{};
  for (int kill = 0; kill < kills; ++kill) {
    SCOPED_TRACE("kill " + std::to_string(kill));
    {
      Child const writer([&] { write_until_killed(machine, progress); });
      if (kill % early_kill != 0) {
        ASSERT_NO_FATAL_FAILURE(writer.await_stop());
        writer.go_on();
      }
      // The instant itself is what is tried; nothing is waited for.
      std::this_thread::sleep_for(std::chrono::microseconds{random() % longest_life_us});
    }
    auto const state = Storage(machine.settings).all();
    auto const found = state.empty() ? 0 : std::stoull(state.begin()->second);
    ASSERT_TRUE(found >= progress.synced && found <= progress.begun);
    ASSERT_EQ(state.size(), found == 0 ? 0U : keys);
    for (auto const& [key, value] : state) {
      ASSERT_EQ(value, std::to_string(found));
    }
    auto const total = machine.usage().total;
    ASSERT_TRUE(per::covers(total, last));
    last = total;
  }
  EXPECT_GE(progress.synced, static_cast<std::uint64_t>(kills - kills / early_kill));
  EXPECT_GE(last.setvalue, progress.synced * keys);
}

}  // namespace
}  // namespace per_test
