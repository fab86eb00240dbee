// SPDX-License-Identifier: Apache-2.0
// What a service manager receives of a state report, and what the process learns when it cannot be told.
#include "ara/exec/application_client.h"

#include <chrono>

#include <gtest/gtest.h>

#include "tests/platform/exec/notification_socket.h"

namespace {

using ara::exec::ApplicationClient;
using ara::exec::ApplicationReturnType;
using ara::exec::ApplicationState;

std::string scratch_path(std::size_t length) {
  std::string path = testing::TempDir() + "notify-" + std::to_string(getpid()) + "-";
  return path.append(length > path.size() ? length - path.size() : 0, 'x');
}

TEST(AStateReport, ReachesSocketsOfEveryKindOfName) {
  constexpr std::size_t name_bytes = sizeof(sockaddr_un::sun_path);
  std::string const id = std::to_string(getpid());
  for (auto const& name : {scratch_path(0), scratch_path(name_bytes - 1), "@flashwatch-exec-test-" + id,
                           "@" + id + std::string(name_bytes - 1 - id.size(), 'x')}) {
    Notification_socket const manager(name);
    ApplicationClient client;

    EXPECT_EQ(client.ReportApplicationState(ApplicationState::kRunning), ApplicationReturnType::kSuccess) << name;
    EXPECT_EQ(client.ReportApplicationState(ApplicationState::kTerminating), ApplicationReturnType::kSuccess);

    EXPECT_EQ(manager.next(), "READY=1\nSTATUS=running") << name;
    EXPECT_EQ(manager.next(), "STOPPING=1\nSTATUS=terminating");
    EXPECT_EQ(manager.next(), "");
  }
}

TEST(AStateReport, SucceedsWithoutAServiceManagerAndFailsWithOneThatIsNotThere) {
  struct Case {
    char const* name;  ///< null: unset
    std::string value;
    ApplicationReturnType result;
  };
  std::array<Case, 7> const cases = {{
      {nullptr, "", ApplicationReturnType::kSuccess},
      {"empty", "", ApplicationReturnType::kSuccess},
      {"no such path", "/nonexistent/notify", ApplicationReturnType::kGeneralError},
      {"no such abstract name", "@flashwatch-nobody", ApplicationReturnType::kGeneralError},
      {"no socket", "/dev/null", ApplicationReturnType::kGeneralError},
      {"neither path nor abstract", "tcp:80", ApplicationReturnType::kGeneralError},
      {"longer than an address", "/" + std::string(sizeof(sockaddr_un::sun_path) - 1, 'x'),
       ApplicationReturnType::kGeneralError},
  }};
  for (auto const& each : cases) {
    if (each.name == nullptr) {
      unsetenv("NOTIFY_SOCKET");
    } else {
      setenv("NOTIFY_SOCKET", each.value.c_str(), 1);
    }
    EXPECT_EQ(ApplicationClient().ReportApplicationState(ApplicationState::kRunning), each.result) << each.value;
  }
  unsetenv("NOTIFY_SOCKET");
}

TEST(AStateReport, FailsAtOnceWhenTheManagerHangsAndSucceedsWhenItReadsAgain) {
  Notification_socket const manager(scratch_path(0));
  ApplicationClient client;

  int taken = 0;
  while (client.ReportApplicationState(ApplicationState::kRunning) == ApplicationReturnType::kSuccess) {
    ASSERT_LT(++taken, 100000) << "the queue is never full";
  }
  auto const start = std::chrono::steady_clock::now();
  EXPECT_EQ(client.ReportApplicationState(ApplicationState::kTerminating), ApplicationReturnType::kGeneralError);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));

  for (int count = 0; count < taken; ++count) {
    EXPECT_EQ(manager.next(), "READY=1\nSTATUS=running");
  }
  EXPECT_EQ(client.ReportApplicationState(ApplicationState::kTerminating), ApplicationReturnType::kSuccess);
  EXPECT_EQ(manager.next(), "STOPPING=1\nSTATUS=terminating");
}

TEST(AStateReport, RefusesAValueThatIsNoState) {
  Notification_socket const manager(scratch_path(0));

  EXPECT_EQ(ApplicationClient().ReportApplicationState(static_cast<ApplicationState>(2)),
            ApplicationReturnType::kGeneralError);
  EXPECT_EQ(manager.next(), "");
}

}  // namespace
