// SPDX-License-Identifier: Apache-2.0
// What a service manager receives of a state report, and what the process learns when it cannot be told.
#include "ara/exec/application_client.h"

#include <chrono>

#include <gtest/gtest.h>

#include "tests/platform/exec/notification_socket.h"

namespace {

using ara::exec::ApplicationReturnType;
using ara::exec::ApplicationState;

constexpr std::size_t name_bytes = sizeof(sockaddr_un::sun_path);

bool reports(ApplicationState state) {
  return ara::exec::ApplicationClient().ReportApplicationState(state) == ApplicationReturnType::kSuccess;
}

std::string padded(std::string const& name, std::size_t length) {
  return name + std::string(length > name.size() ? length - name.size() : 0, 'x');
}

std::string const path = testing::TempDir() + "notify-" + std::to_string(getpid());

TEST(AStateReport, ReachesSocketsOfEveryKindOfName) {
  std::string const abstract = "@flashwatch-" + std::to_string(getpid());
  for (auto const& name : {path, padded(path, name_bytes - 1), abstract, padded(abstract, name_bytes)}) {
    Notification_socket const manager(name);
    EXPECT_TRUE(reports(ApplicationState::kRunning)) << name;
    EXPECT_TRUE(reports(ApplicationState::kTerminating));
    EXPECT_FALSE(reports(static_cast<ApplicationState>(2)));
    EXPECT_EQ(manager.next(), "READY=1\nSTATUS=running") << name;
    EXPECT_EQ(manager.next(), "STOPPING=1\nSTATUS=terminating");
    EXPECT_EQ(manager.next(), "");
  }
}

TEST(AStateReport, SucceedsWithoutAServiceManagerAndFailsWithOneThatIsNotThere) {
  EXPECT_TRUE(reports(ApplicationState::kRunning));
  for (auto const& name : {std::string(), std::string("/nonexistent/notify"), std::string("@flashwatch-nobody"),
                           std::string("/dev/null"), std::string("tcp:80"), padded("/", name_bytes)}) {
    setenv("NOTIFY_SOCKET", name.c_str(), 1);
    EXPECT_EQ(reports(ApplicationState::kRunning), name.empty()) << name;
  }
  unsetenv("NOTIFY_SOCKET");
}

TEST(AStateReport, FailsAtOnceWhenTheManagerHangsAndSucceedsWhenItReadsAgain) {
  Notification_socket const manager(path);
  int taken = 0;
  while (reports(ApplicationState::kRunning)) {
    ASSERT_LT(++taken, 100000) << "the queue is never full";
  }
  auto const start = std::chrono::steady_clock::now();
  EXPECT_FALSE(reports(ApplicationState::kTerminating));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
  for (int count = 0; count < taken; ++count) {
    EXPECT_EQ(manager.next(), "READY=1\nSTATUS=running");
  }
  EXPECT_TRUE(reports(ApplicationState::kTerminating));
  EXPECT_EQ(manager.next(), "STOPPING=1\nSTATUS=terminating");
}

}  // namespace
