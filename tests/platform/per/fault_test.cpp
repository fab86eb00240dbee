// SPDX-License-Identifier: Apache-2.0
// Every step of the store towards the medium, failed one by one, and cut off by a power cut one by one.
#include <algorithm>
#include <limits>
#include <map>
#include <random>

#include <gmock/gmock.h>
#include <sqlite3.h>

#include "tests/platform/per/machine.h"

namespace {

using ara::per::ExceptionPhysicalStorageError;
using per_test::Machine;
using per_test::Storage;
using per_test::per::File_observer;
using per_test::per::File_operation;
using Kind = File_operation::Kind;
using State = std::map<std::string, std::string>;

/// Lets one step fail, or every one from it on.
class Failing_step final : public File_observer {
 public:
  int before(File_operation const&) noexcept override {
    auto const step = steps++;
    return step == first || (step > first && for_good) ? result : 0;
  }
  static constexpr int never = std::numeric_limits<int>::max();

  int steps = 0;
  int first = never;
  bool for_good = false;
  int result = SQLITE_OK;
};

State state_of(Storage const& storage) {
  State state;
  for (auto const& key : storage.GetAllKeys()) {
    state[key] = storage.get(key);
  }
  return state;
}

/// The states of a life of a storage, from one sync to the next: enough to let the log begin anew.
constexpr int syncs = 90;

void stage(Storage& storage, State& state, int sync) {
  for (int i = 0; i < 3; ++i) {
    auto const key = "key " + std::to_string((7 * sync + i) % 40);
    storage.put(key, state[key] = "value " + std::to_string(sync) + std::string(30, 'v'));
  }
  auto const gone = "key " + std::to_string((3 * sync) % 40);
  storage.RemoveKey(gone);
  state.erase(gone);
}

TEST(A_storage_whose_medium_fails, keeps_what_is_staged_and_syncs_it_later) {
  struct Row {
    int result;
    char const* cause;
  };
  for (auto const& row :
       {Row{SQLITE_FULL, "full"}, Row{SQLITE_IOERR_FSYNC, "medium fails"}, Row{SQLITE_IOERR_WRITE, "medium fails"}}) {
    Machine machine;
    Failing_step fault;
    State state;
    Storage storage(machine.settings, "app", "store", fault);
    fault.result = row.result;
    for (int sync = 0; sync < syncs; ++sync) {
      SCOPED_TRACE(std::string(row.cause) + " at sync " + std::to_string(sync));
      stage(storage, state, sync);
      fault.first = fault.steps + sync % 9;
      fault.for_good = sync % 2 == 0;
      try {
        storage.SyncToStorage();
      } catch (ExceptionPhysicalStorageError const& e) {
        EXPECT_THAT(e.what(), testing::HasSubstr(row.cause));
        EXPECT_EQ(state_of(storage), state) << "what is staged is still seen";
        fault.first = Failing_step::never;
        storage.SyncToStorage();
      }
      fault.first = Failing_step::never;
      EXPECT_EQ(state_of(storage), state);
    }
  }
}

TEST(A_storage_whose_medium_fails, is_refused_or_made_whole_when_it_is_made) {
  for (int step = 0;; ++step) {
    SCOPED_TRACE(step);
    Machine machine;
    Failing_step fault;
    fault.first = step;
    fault.for_good = true;
    fault.result = SQLITE_FULL;
    auto const made = [&] {
      try {
        Storage const storage(machine.settings, "app", "store", fault);
        return true;
      } catch (ExceptionPhysicalStorageError const& e) {
        EXPECT_THAT(e.what(), testing::HasSubstr("full"));
        return false;
      }
    }();
    EXPECT_TRUE(state_of(Storage(machine.settings)).empty());
    if (made) {
      EXPECT_GT(step, 4);
      break;
    }
  }
}

/// The medium as a power cut leaves it: what was synced, and of the steps since then any the test chooses.
class Medium final : public File_observer {
 public:
  int before(File_operation const& o) noexcept override {
    steps.push_back({o.kind, std::string(o.file), o.offset,
                     o.data == nullptr ? "" : std::string(static_cast<char const*>(o.data), o.size),
                     std::string(o.new_name)});
    return 0;
  }

  struct Step {
    Kind kind;
    std::string file;
    std::int64_t offset;
    std::string data;
    std::string new_name;
  };
  std::vector<Step> steps;
};

void write_at(std::string& file, std::int64_t offset, std::string const& data) {
  auto const at = static_cast<std::size_t>(offset);
  file.resize(std::max(file.size(), at + data.size()));
  file.replace(at, data.size(), data);
}

using Files = std::map<std::string, std::string>;

void take(Files& files, Medium::Step const& step) {
  switch (step.kind) {
    case Kind::create:
      files[step.file];
      break;
    case Kind::write:
      write_at(files[step.file], step.offset, step.data);
      break;
    case Kind::truncate:
      files[step.file].resize(static_cast<std::size_t>(step.offset));
      break;
    case Kind::rename:
      files[step.new_name] = files[step.file];
      files.erase(step.file);
      break;
    case Kind::remove:
      files.erase(step.file);
      break;
    case Kind::sync:
    case Kind::sync_names:
      break;
  }
}

/// The writes among the first `count` steps that no sync of their file followed: what a power cut may take away.
std::vector<std::size_t> pending(std::vector<Medium::Step> const& steps, std::size_t count) {
  std::vector<std::size_t> found;
  for (std::size_t i = 0; i < count; ++i) {
    auto const synced =
        std::any_of(steps.begin() + static_cast<std::ptrdiff_t>(i), steps.begin() + static_cast<std::ptrdiff_t>(count),
                    [&](auto const& later) { return later.kind == Kind::sync && later.file == steps[i].file; });
    if (steps[i].kind == Kind::write && !synced) {
      found.push_back(i);
    }
  }
  return found;
}

/// The files after the first `count` steps without the writes in `lost`. Names are as the running system saw them.
Files after_cut(std::vector<Medium::Step> const& steps, std::size_t count, std::vector<std::size_t> const& lost) {
  Files files;
  for (std::size_t i = 0; i < count; ++i) {
    if (std::find(lost.begin(), lost.end(), i) == lost.end()) {
      take(files, steps[i]);
    }
  }
  return files;
}

/// Which of the pending writes get lost: none, all, any; and where a log begins anew, every beginning of them, as then
/// what stands behind in the log must not come back to life.
std::vector<std::vector<std::size_t>> losses(std::vector<Medium::Step> const& steps, std::size_t count,
                                             std::mt19937& random) {
  auto const all = pending(steps, count);
  std::vector<std::vector<std::size_t>> ways{{}, all, {}};
  std::copy_if(all.begin(), all.end(), std::back_inserter(ways.back()), [&](auto) { return random() % 2 == 0; });
  if (!all.empty() && steps[all.front()].offset == 0) {
    for (auto end = all.begin(); end != all.end(); ++end) {
      ways.emplace_back(all.begin(), end);
    }
  }
  return ways;
}

TEST(A_storage_after_a_power_cut, has_the_state_before_or_after_the_sync_wherever_it_was_cut) {
  Machine machine;
  Medium medium;
  std::vector<State> states(1);
  std::vector<std::size_t> begins;
  {
    Storage storage(machine.settings, "app", "store", medium);
    for (int sync = 0; sync < syncs; ++sync) {
      states.push_back(states.back());
      stage(storage, states.back(), sync);
      begins.push_back(medium.steps.size());
      storage.SyncToStorage();
    }
  }
  // The same choices each time, so that a failure can be repeated.
  std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp)
  std::size_t finished = 0;
  for (std::size_t cut = 0; cut <= medium.steps.size(); ++cut) {
    while (finished < begins.size() &&
           (finished + 1 == begins.size() ? medium.steps.size() : begins[finished + 1]) <= cut) {
      ++finished;
    }
    for (auto const& lost : losses(medium.steps, cut, random)) {
      SCOPED_TRACE("cut at " + std::to_string(cut) + ", writes lost: " + testing::PrintToString(lost));
      auto const files = after_cut(medium.steps, cut, lost);
      for (auto const& name : {machine.file(), machine.log(), machine.file() + "-new"}) {
        std::filesystem::remove(name);
      }
      for (auto const& [name, content] : files) {
        per_test::write_file(name, content);
      }
      auto const found = state_of(Storage(machine.settings));
      auto const& before = states[finished];
      auto const& after = states[std::min(finished + 1, states.size() - 1)];
      ASSERT_TRUE(found == before || found == after);
    }
  }
}

}  // namespace
