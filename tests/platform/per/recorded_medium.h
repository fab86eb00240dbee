// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_PLATFORM_PER_RECORDED_MEDIUM_H
#define TESTS_PLATFORM_PER_RECORDED_MEDIUM_H

#include <algorithm>
#include <map>
#include <numeric>
#include <string>
#include <vector>

#include "tests/platform/per/machine.h"

namespace per_test {

/// Everything that a store did to the medium, step by step, so that a power cut can take any of it back.
class Recorded_medium final : public per::File_observer {
 public:
  using Kind = per::File_operation::Kind;
  using Files = std::map<std::string, std::string>;
  using Steps = std::vector<std::size_t>;

  int before(per::File_operation const& o) noexcept override {
    steps.push_back({o.kind, std::string(o.file), o.offset,
                     o.data == nullptr ? "" : std::string(static_cast<char const*>(o.data), o.size),
                     std::string(o.new_name), synced});
    return outcome(steps.size());
  }

  /// Handed to the medium so far.
  std::uint64_t bytes() const {
    return std::accumulate(steps.begin(), steps.end(), std::uint64_t{0},
                           [](auto sum, auto const& step) { return sum + step.data.size(); });
  }

  /// What among the first `count` steps no sync made durable. A content waits for its file's sync, a name for its
  /// folder's.
  Steps pending(std::size_t count) const {
    Steps found;
    for (std::size_t i = 0; i < count; ++i) {
      if (steps[i].kind == Kind::sync || steps[i].kind == Kind::sync_names) {
        auto const done = [&](std::size_t each) {
          auto const is_content = steps[each].kind == Kind::write || steps[each].kind == Kind::truncate;
          return is_content ? steps[i].kind == Kind::sync && steps[i].file == steps[each].file
                            : steps[i].kind == Kind::sync_names;
        };
        found.erase(std::remove_if(found.begin(), found.end(), done), found.end());
      } else {
        found.push_back(i);
      }
    }
    return found;
  }

  /// The files after the first `count` steps without those in `lost`. Of the step `torn` only the first half came.
  Files after_cut(std::size_t count, Steps const& lost, std::size_t torn) const {
    Files files;
    for (std::size_t i = 0; i < count; ++i) {
      if (!std::binary_search(lost.begin(), lost.end(), i)) {
        take(files, steps[i], i == torn ? steps[i].data.size() / 2 : steps[i].data.size());
      }
    }
    return files;
  }

  struct Step {
    Kind kind;
    std::string file;
    std::int64_t offset;
    std::string data;
    std::string new_name;
    std::size_t synced;

    bool begins_log() const { return kind == Kind::write && offset == 0 && file.back() == 'l'; }
  };
  std::vector<Step> steps;
  /// How many SyncToStorage have returned.
  std::size_t synced = 0;
  static int success(std::size_t /*step*/) { return 0; }
  /// Decides what a step comes to: the steps count from 1, and a result of SQLite makes one fail.
  std::function<int(std::size_t)> outcome = success;

 private:
  static void take(Files& files, Step const& step, std::size_t size) {
    auto const at = static_cast<std::size_t>(step.offset);
    auto const found = files.find(step.file);
    if (step.kind == Kind::create) {
      files[step.file];
    } else if (found == files.end()) {
      return;  // Its name was lost.
    } else if (step.kind == Kind::write) {
      found->second.resize(std::max(found->second.size(), at + size));
      found->second.replace(at, size, step.data, 0, size);
    } else if (step.kind == Kind::truncate) {
      found->second.resize(at);
    } else if (step.kind == Kind::rename) {
      files[step.new_name] = found->second;
      files.erase(step.file);
    } else if (step.kind == Kind::remove) {
      files.erase(found);
    }
  }
};

}  // namespace per_test

#endif
