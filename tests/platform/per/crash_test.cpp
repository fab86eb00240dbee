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
constexpr int keys = 8;
/// One life in so many is cut off from its beginning on, so that opening is hit too; the others after their first sync.
constexpr int early_kill = 4;
/// Some commits long.
constexpr int longest_life_us = 8000;

/// What the writer tells of its progress, in memory that outlives it.
struct Progress {
  std::atomic<std::uint64_t> begun{0};
  std::atomic<std::uint64_t> synced{0};
};

void write_until_killed(Machine const& machine, Progress& progress, Signpost const& synced) {
  Storage storage(machine.settings);
  for (auto round = progress.begun.load() + 1;; ++round) {
    for (int key = 0; key < keys; ++key) {
      storage.put(std::to_string(key), std::to_string(round));
    }
    progress.begun = round;
    storage.SyncToStorage();
    progress.synced = round;
    synced.reach();
  }
}

TEST(A_storage_whose_process_is_killed, has_what_was_synced_or_what_was_being_synced) {
  Machine machine(std::filesystem::temp_directory_path());
  machine.settings.lock_wait = std::chrono::seconds{10};
  void* const memory = mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  auto& progress = *new (memory) Progress;
  std::mt19937 random(static_cast<unsigned>(getpid()));
  per::Application_usage last{};
  for (int kill = 0; kill < kills; ++kill) {
    SCOPED_TRACE("kill " + std::to_string(kill));
    {
      Signpost synced;
      Child writer([&] { write_until_killed(machine, progress, synced); });
      if (kill % early_kill != 0) {
        synced.wait();
      }
      // The instant itself is what is tried; nothing is waited for.
      std::this_thread::sleep_for(std::chrono::microseconds{random() % longest_life_us});
    }
    auto const begun = progress.begun.load();
    auto const synced = progress.synced.load();
    {
      Storage const storage(machine.settings);
      auto const found = storage.HasKey("0") ? std::stoull(storage.get("0")) : 0;
      ASSERT_GE(found, synced);
      ASSERT_LE(found, begun);
      for (int key = 0; found != 0 && key < keys; ++key) {
        ASSERT_EQ(storage.get(std::to_string(key)), std::to_string(found));
      }
    }
    auto const usage = machine.usage();
    ASSERT_GE(usage.total.write, last.total.write);
    ASSERT_GE(usage.total.read, last.total.read);
    ASSERT_GE(usage.total.setvalue, last.total.setvalue);
    last = usage;
    progress.synced = synced;
  }
  EXPECT_GE(progress.synced, static_cast<std::uint64_t>(kills - kills / early_kill));
  EXPECT_GE(last.total.setvalue, progress.synced * keys);
  munmap(memory, sizeof(Progress));
}

}  // namespace
}  // namespace per_test
