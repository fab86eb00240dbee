// SPDX-License-Identifier: Apache-2.0
// The judgement of checkpoint rhythms, its window in the manifest, and what a service manager gets to know.
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

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
using nlohmann::json;
using std::chrono::milliseconds;

json const rows = json::parse(std::ifstream(ROWS));

/// A manifest that also has these members.
std::string manifest_with(json const& members) {
  auto manifest = json::parse(R"({"processes": {"p": {"address": "127.0.0.9", "application_id": "a"}}})");
  manifest.update(members);
  return manifest.dump();
}

TEST(AnAliveRecord, JudgesEachCheckpointByItsPredecessorOfTheSameEntity) {
  std::map<std::string, std::uint8_t> const statuses{
      {"ok", status::ok}, {"late", status::checkpoint_late}, {"not reported", status::not_reported}};
  Alive_record record(milliseconds(90'000));
  EXPECT_EQ(record.status(1), status::unknown_entity);
  for (auto const& row : rows.at("checkpoints")) {
    record.add(row.at("entity"), Alive_record::Time_point(milliseconds(row.at("at_ms"))), row.value("told", true));
    EXPECT_EQ(record.status(row.at("entity")), statuses.at(row.at("then"))) << row;
  }
}

TEST(TheCheckpointWindow, IsThatOfTheInstanceOrTheDefaultOne) {
  for (auto const& row : rows.at("windows")) {
    Scratch_manifest const scratch(manifest_with(row.at("members")));
    Machine_manifest const manifest(scratch.file(), "p");
    std::int64_t window = 0;
    auto const complaint =
        complaint_of([&] { window = linux_platform::phm::checkpoint_window(manifest, "i").count(); });
    EXPECT_EQ(window, row.value("ms", 0)) << row;
    EXPECT_EQ(complaint, row.contains("ms")
                             ? ""
                             : "machine manifest " + scratch.file() + ": " + row.at("complaint").get<std::string>());
  }
}

// One test, because a process reads its manifest successfully only once: real clock, real notification socket.
TEST(ASupervision, TellsTheManagerOfEveryCheckpointAndFindsALateOne) {
  setenv("ARA_PROCESS", "p", 1);
  setenv("ARA_MACHINE_MANIFEST", "/nonexistent/machine.json", 1);
  EXPECT_EQ(complaint_of([] { Phm_client("slow"); }),
            "machine manifest /nonexistent/machine.json cannot be opened: No such file or directory");
  Scratch_manifest const scratch(manifest_with(json::parse(
      R"({"health": {"slow": {"checkpoint_window_ms": 86400000}, "quick": {"checkpoint_window_ms": 1}}})")));
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
