// SPDX-License-Identifier: Apache-2.0
// The part "health" of the manifest.
#include "platform/src/phm/checkpoint_window.h"

#include <gtest/gtest.h>

#include "tests/platform/manifest/scratch_manifest.h"

namespace {

using linux_platform::manifest::Machine_manifest;

struct Case {
  std::string health;  ///< the members after "processes"
  int window_ms;       ///< of instance "i"; 0: refused
  std::string complaint;
};

TEST(TheCheckpointWindow, IsThatOfTheInstanceOrTheDefaultOne) {
  std::vector<Case> const cases = {
      {"", 120'000, ""},
      {R"(, "health": {})", 120'000, ""},
      {R"(, "health": {"other": {"checkpoint_window_ms": 5}})", 120'000, ""},
      {R"(, "health": {"i": {"checkpoint_window_ms": 1}, "other": {"checkpoint_window_ms": 5}})", 1, ""},
      {R"(, "health": {"i": {"checkpoint_window_ms": 86400000}})", 86'400'000, ""},
      {R"(, "health": {"i": {"checkpoint_window_ms": 86400001}})", 0,
       "health.i.checkpoint_window_ms must be an integer from 1 to 86400000, but is 86400001"},
      {R"(, "health": {"i": {"checkpoint_window_ms": 0}})", 0,
       "health.i.checkpoint_window_ms must be an integer from 1 to 86400000, but is 0"},
      {R"(, "health": {"i": {}})", 0, "health.i.checkpoint_window_ms is missing"},
      {R"(, "health": {"other": {"window": 7}})", 0,
       "health.other.window is not a known member (known: checkpoint_window_ms)"},
      {R"(, "health": 7)", 0, "health must be an object, but is 7"},
  };
  for (auto const& each : cases) {
    Scratch_manifest const scratch(R"({"processes": {"p": {"address": "127.0.0.9", "application_id": "a"}})" +
                                   each.health + "}");
    Machine_manifest const manifest(scratch.file(), "p");
    // A count, not a duration: g++ 12 -O2 drops a class's initial value when the call that would replace it throws.
    std::int64_t window_ms = 0;
    auto const complaint =
        complaint_of([&] { window_ms = linux_platform::phm::checkpoint_window(manifest, "i").count(); });
    EXPECT_EQ(window_ms, each.window_ms) << each.health;
    EXPECT_EQ(complaint, each.complaint.empty() ? "" : "machine manifest " + scratch.file() + ": " + each.complaint);
  }
}

}  // namespace
