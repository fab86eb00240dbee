// SPDX-License-Identifier: Apache-2.0
// Supervision as a process uses it: real manifest, real clock, real notification socket.
#include "ara/phm/supervision_entity.h"

#include <chrono>
#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/platform/exec/notification_socket.h"
#include "tests/platform/manifest/scratch_manifest.h"

namespace {

namespace status = ara::phm::supervision_status;
using ara::phm::Phm_client;
using ara::phm::SupervisionEntity;

constexpr char const* slow = "flashwatch-container";
constexpr char const* quick = "quick";

std::string socket_name() { return testing::TempDir() + "phm-" + std::to_string(getpid()); }

/// The process's manifest is read once: one file serves all tests, after the first has seen it missing.
class Supervision : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    setenv("ARA_PROCESS", "p", 1);
    setenv("ARA_MACHINE_MANIFEST", "/nonexistent/machine.json", 1);
    EXPECT_EQ(complaint_of([] { Phm_client{slow}; }),
              "machine manifest /nonexistent/machine.json cannot be opened: No such file or directory");
    Scratch_manifest const scratch(R"({"processes": {"p": {"address": "127.0.0.9", "application_id": "a"}},
        "health": {"flashwatch-container": {"checkpoint_window_ms": 86400000}, "quick": {"checkpoint_window_ms": 1}}})");
    setenv("ARA_MACHINE_MANIFEST", scratch.file().c_str(), 1);
    EXPECT_EQ(Phm_client(slow).instance(), slow);
  }
};

TEST_F(Supervision, TellsTheManagerOfEveryCheckpointAndIsInOrder) {
  Notification_socket const manager(socket_name());
  Phm_client const client(slow);
  SupervisionEntity entity(client);

  EXPECT_EQ(entity.GetSupervisionStatus(slow, 1), status::unknown_entity);
  for (int count = 0; count < 3; ++count) {
    entity.CheckpointReached(1, 1);
    EXPECT_EQ(manager.next(), "WATCHDOG=1");
    EXPECT_EQ(entity.GetSupervisionStatus(slow, 1), status::ok);
  }
  EXPECT_EQ(manager.next(), "");
  EXPECT_EQ(entity.GetSupervisionStatus(slow, 2), status::unknown_entity);
  EXPECT_EQ(entity.GetSupervisionStatus("other", 1), status::unknown_entity);
}

TEST_F(Supervision, IsInOrderWithoutAManagerButNotWithOneThatCannotBeTold) {
  Phm_client const client(slow);
  SupervisionEntity entity(client);

  entity.CheckpointReached(1, 1);
  EXPECT_EQ(entity.GetSupervisionStatus(slow, 1), status::ok);
  setenv("NOTIFY_SOCKET", socket_name().c_str(), 1);
  entity.CheckpointReached(1, 1);
  EXPECT_EQ(entity.GetSupervisionStatus(slow, 1), status::not_reported);
  unsetenv("NOTIFY_SOCKET");
}

TEST_F(Supervision, FindsACheckpointLateByTheMonotonicClock) {
  Phm_client const client(quick);
  SupervisionEntity entity(client);

  entity.CheckpointReached(1, 1);
  auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(2);
  while (std::chrono::steady_clock::now() < end) {
  }
  entity.CheckpointReached(1, 1);
  EXPECT_EQ(entity.GetSupervisionStatus(quick, 1), status::checkpoint_late);
}

}  // namespace
