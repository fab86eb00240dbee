// SPDX-License-Identifier: Apache-2.0
// The judgement of checkpoint rhythms, its window in the manifest, and what a service manager gets to know.
#include <chrono>
#include <cstdlib>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "ara/phm/supervision_entity.h"
#include "platform/src/phm/alive_record.h"
#include "platform/src/phm/checkpoint_window.h"
#include "tests/platform/exec/notification_socket.h"
#include "tests/platform/manifest/scratch_manifest.h"

namespace {

namespace status = ara::phm::supervision_status;
using ara::phm::Phm_client;
using ara::phm::SupervisionEntity;
using linux_platform::manifest::Machine_manifest;
using linux_platform::phm::Alive_record;
using std::chrono::milliseconds;

std::string manifest_with(std::string const& health) {
  return R"({"processes": {"p": {"address": "127.0.0.9", "application_id": "a"}})" + health + "}";
}

TEST(AnAliveRecord, JudgesEachCheckpointByItsPredecessorOfTheSameEntity) {
  using Step = std::tuple<std::uint16_t, int, bool, std::uint8_t>;
  Alive_record record(milliseconds(90'000));
  EXPECT_EQ(record.status(1), status::unknown_entity);
  for (auto const& [entity, at_ms, told, expected] : {
           Step{1, 500'000, true, status::ok},               // the first one, however late after the start
           Step{1, 590'000, true, status::ok},               // exactly the window
           Step{1, 680'001, true, status::checkpoint_late},  // 1 ms more
           Step{1, 740'001, true, status::ok},               // in time again
           Step{7, 990'000, true, status::ok},               // another entity's first
           Step{1, 990'000, false, status::checkpoint_late},
           Step{1, 990'000, false, status::not_reported},
           Step{7, 990'001, true, status::ok},
       }) {
    record.add(entity, Alive_record::Time_point(milliseconds(at_ms)), told);
    EXPECT_EQ(record.status(entity), expected) << "entity " << entity << " at " << at_ms;
  }
}

TEST(TheCheckpointWindow, IsThatOfTheInstanceOrTheDefaultOne) {
  std::string const range = "health.i.checkpoint_window_ms must be an integer from 1 to 86400000, but is ";
  for (auto const& [health, expected] : std::vector<std::pair<std::string, std::string>>{
           {"", "120000"},
           {R"({"other": {"checkpoint_window_ms": 5}})", "120000"},
           {R"({"i": {"checkpoint_window_ms": 1}, "other": {"checkpoint_window_ms": 5}})", "1"},
           {R"({"i": {"checkpoint_window_ms": 86400000}})", "86400000"},
           {R"({"i": {"checkpoint_window_ms": 86400001}})", range + "86400001"},
           {R"({"i": {"checkpoint_window_ms": 0}})", range + "0"},
           {R"({"i": {}})", "health.i.checkpoint_window_ms is missing"},
           {R"({"other": {"window": 7}})", "health.other.window is not a known member (known: checkpoint_window_ms)"},
           {"7", "health must be an object, but is 7"}}) {
    Scratch_manifest const scratch(manifest_with(health.empty() ? "" : R"(, "health": )" + health));
    Machine_manifest const manifest(scratch.file(), "p");
    std::int64_t window = 0;
    auto const complaint =
        complaint_of([&] { window = linux_platform::phm::checkpoint_window(manifest, "i").count(); });
    EXPECT_EQ(complaint.empty() ? std::to_string(window) : complaint,
              complaint.empty() ? expected : "machine manifest " + scratch.file() + ": " + expected);
  }
}

// One test, because a process reads its manifest successfully only once: real clock, real notification socket.
TEST(ASupervision, TellsTheManagerOfEveryCheckpointAndFindsALateOne) {
  setenv("ARA_PROCESS", "p", 1);
  setenv("ARA_MACHINE_MANIFEST", "/nonexistent/machine.json", 1);
  EXPECT_EQ(complaint_of([] { Phm_client("slow"); }),
            "machine manifest /nonexistent/machine.json cannot be opened: No such file or directory");
  Scratch_manifest const scratch(manifest_with(
      R"(, "health": {"slow": {"checkpoint_window_ms": 86400000}, "quick": {"checkpoint_window_ms": 1}})"));
  setenv("ARA_MACHINE_MANIFEST", scratch.file().c_str(), 1);
  Phm_client const client("slow");
  SupervisionEntity entity(client);
  EXPECT_EQ(entity.GetSupervisionStatus("slow", 1), status::unknown_entity);
  entity.CheckpointReached(1, 1);
  EXPECT_EQ(entity.GetSupervisionStatus("slow", 1), status::ok) << "without a manager";
  std::string const name = testing::TempDir() + "phm-" + std::to_string(getpid());
  {
    Notification_socket const manager(name);
    for (int count = 0; count < 3; ++count) {
      entity.CheckpointReached(1, 1);
      EXPECT_EQ(manager.next(), "WATCHDOG=1");
      EXPECT_EQ(entity.GetSupervisionStatus("slow", 1), status::ok);
    }
    EXPECT_EQ(manager.next(), "");
    EXPECT_EQ(entity.GetSupervisionStatus("slow", 2), status::unknown_entity);
    EXPECT_EQ(entity.GetSupervisionStatus("other", 1), status::unknown_entity);
  }
  setenv("NOTIFY_SOCKET", name.c_str(), 1);
  entity.CheckpointReached(1, 1);
  EXPECT_EQ(entity.GetSupervisionStatus("slow", 1), status::not_reported);
  unsetenv("NOTIFY_SOCKET");

  Phm_client const quick("quick");
  SupervisionEntity late(quick);
  late.CheckpointReached(1, 1);
  auto const end = std::chrono::steady_clock::now() + milliseconds(2);
  while (std::chrono::steady_clock::now() < end) {
  }
  late.CheckpointReached(1, 1);
  EXPECT_EQ(late.GetSupervisionStatus("quick", 1), status::checkpoint_late);
}

}  // namespace
