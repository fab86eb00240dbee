// SPDX-License-Identifier: Apache-2.0
// A life of a storage is recorded step by step and cut off after each of them, with what was not synced lost, kept and
// torn in every way that can be enumerated. Whoever opens it then finds the state before or after the sync.
#include <algorithm>

#include "tests/platform/per/recorded_medium.h"

namespace per_test {
namespace {

using Steps = Recorded_medium::Steps;

/// Enough to copy the log into the store and begin it anew; opened again now and then, which seals the log.
constexpr std::size_t syncs = 62;
constexpr std::size_t syncs_of_a_session = 20;
/// Up to here every subset of what is pending is lost.
constexpr std::size_t few = 4;

/// Every subset of a few; of more each single one, all but each single one, and every beginning. (Every end is
/// an earlier cut.)
std::vector<Steps> losses(Steps const& pending) {
  std::vector<Steps> ways;
  auto const lose = [&](auto const& is_lost) {
    ways.emplace_back();
    for (std::size_t i = 0; i < pending.size(); ++i) {
      if (is_lost(i)) {
        ways.back().push_back(pending[i]);
      }
    }
  };
  if (pending.size() <= few) {
    for (std::size_t subset = 0; subset < std::size_t{1} << pending.size(); ++subset) {
      lose([&](std::size_t i) { return (subset >> i & 1U) != 0; });
    }
    return ways;
  }
  for (std::size_t at = 0; at <= pending.size(); ++at) {
    lose([&](std::size_t i) { return i == at; });
    lose([&](std::size_t i) { return i != at; });
    lose([&](std::size_t i) { return i < at; });
  }
  return ways;
}

State state_after(Machine const& machine, Recorded_medium::Files const& files) {
  for (auto const& name : {machine.file(), machine.log(), machine.file() + "-new"}) {
    std::filesystem::remove(name);
  }
  for (auto const& [name, content] : files) {
    write_file(name, content);
  }
  return Storage(machine.settings).all();
}

TEST(A_storage_after_a_power_cut, has_the_state_before_or_after_the_sync_wherever_it_was_cut) {
  Machine machine;
  Recorded_medium medium;
  std::vector<State> states(1);
  while (medium.synced < syncs) {
    Storage storage(machine.settings, "app", "store", medium);
    do {
      states.push_back(states.back());
      storage.stage(states.back(), medium.synced);
      storage.SyncToStorage();
    } while (++medium.synced % syncs_of_a_session != 0 && medium.synced < syncs);
  }
  std::size_t cuts = 0;
  auto const& steps = medium.steps;
  ASSERT_EQ(std::count_if(steps.begin(), steps.end(), [](auto const& s) { return s.begins_log(); }), 3)
      << "made, used, and used anew after its copy into the store";
  for (std::size_t cut = 0; cut <= steps.size(); ++cut) {
    auto const synced = cut < steps.size() ? steps[cut].synced : syncs;
    auto const& after = states[std::min(synced + 1, syncs)];
    auto const try_cut = [&](Steps const& lost, std::size_t torn) {
      SCOPED_TRACE("cut at " + std::to_string(cut) + ", torn " + std::to_string(torn) +
                   ", lost: " + testing::PrintToString(lost));
      auto const found = state_after(machine, medium.after_cut(cut, lost, torn));
      ASSERT_TRUE(found == states[synced] || found == after);
      ++cuts;
    };
    auto const pending = medium.pending(cut);
    for (auto const& lost : losses(pending)) {
      ASSERT_NO_FATAL_FAILURE(try_cut(lost, steps.size()));
    }
    for (auto const each : pending) {
      ASSERT_NO_FATAL_FAILURE(try_cut({}, each));
    }
  }
  std::cout << steps.size() << " steps to the medium, " << cuts << " ways of cutting them off\n";
}

}  // namespace
}  // namespace per_test
