// SPDX-License-Identifier: Apache-2.0
// Whole processes that log, with a real DLT daemon, with none, and with standard outputs that do not behave.
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/log/child.h"
#include "tests/platform/log/dlt_daemon.h"

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr int remote = 1;
constexpr int console = 4;

class ALoggingProcess : public testing::Test {
 protected:
  static int count(std::vector<Dlt_message> const& messages, std::string const& first_piece) {
    return static_cast<int>(std::count_if(messages.begin(), messages.end(), [&first_piece](auto const& message) {
      return message.application == "FLWT" && message.pieces.front() == first_piece;
    }));
  }
  static int lines(std::string const& output) {
    return static_cast<int>(std::count(output.begin(), output.end(), '\n'));
  }

  Dlt_daemon daemon_;
};

TEST_F(ALoggingProcess, GivesDltTypedArgumentsAndTheConsoleOneLine) {
  daemon_.start(4);
  Child child(remote | console, daemon_.directory());
  child.command("types");
  child.command("init 6");
  EXPECT_EQ(child.finish(), 0);

  auto const message = daemon_.receive_until("end").front();
  EXPECT_EQ(message.application, "FLWT");
  EXPECT_EQ(message.context, "DATA");
  EXPECT_EQ(message.level, 3);
  EXPECT_THAT(message.pieces,
              ElementsAre("bool8:1", "int8:-5", "uint8:200", "int8:65", "int16:-300", "uint16:60000", "int32:-7",
                          "uint32:7", "int64:-9223372036854775808", "uint64:18446744073709551615", "float32:1.5",
                          "float64:-2.25", "utf8:c", "utf8:a\0\n\x1b\xff"s, "utf8:\u00e9", "utf8:"));
  EXPECT_THAT(child.output(),
              HasSubstr("Z FLWT DATA warn true -5 200 65 -300 60000 -7 7 -9223372036854775808 18446744073709551615 "
                        "1.5 -2.25 c a\\x00\\n\\x1b\\xff \u00e9 \n"));
  EXPECT_THAT(child.output(), EndsWith("Z FLWT DFLT info from a static destructor\n"));
  EXPECT_EQ(lines(child.output()), 3);
  EXPECT_EQ(child.errors(), "");
}

TEST_F(ALoggingProcess, KeepsAFixedNumberOfRecordsUntilItIsInitialised) {
  daemon_.start();
  Child child(remote | console, daemon_.directory());
  child.command("lines 300");
  child.command("init 5");
  EXPECT_EQ(child.finish(), 0);

  auto const messages = daemon_.receive_until("end");
  EXPECT_EQ(count(messages, "utf8:a line of ordinary length with its number"), 256);
  EXPECT_THAT(messages.at(256).pieces,
              ElementsAre("utf8:log records lost before the log was initialised:", "uint64:44"));
  EXPECT_EQ(lines(child.output()), 256 + 3);
}

TEST_F(ALoggingProcess, FollowsTheLevelThatTheDaemonSets) {
  daemon_.start();
  Child child(remote, daemon_.directory());
  child.command("init 6");
  child.command("say 1");
  daemon_.set_level("FLWT", "DFLT", 4);
  child.command("await-level 4");
  child.command("say 2");
  daemon_.set_level("FLWT", "DFLT", 6);
  child.command("await-level 6");
  EXPECT_EQ(child.finish(), 0);

  auto const messages = daemon_.receive_until("end");
  EXPECT_EQ(count(messages, "utf8:say"), 1);
  EXPECT_EQ(child.output(), "");
}

// libdlt takes over the default level of a daemon that it finds later; what the application asked for has to hold.
TEST_F(ALoggingProcess, ReachesADaemonThatComesLateOrComesBackAtItsOwnLevel) {
  Child child(remote, daemon_.directory());
  child.command("init 6");
  child.command("say 1");
  daemon_.start(4);
  EXPECT_THAT(daemon_.receive_until("say").back().pieces, ElementsAre("utf8:say", "int32:1"));
  daemon_.set_level("FLWT", "DFLT", 2);
  child.command("await-level 2");

  daemon_.stop();
  daemon_.start(4);
  // libdlt notices that a daemon has gone when it has something to send.
  child.command("alarm");
  child.command("await-level 6");
  child.command("say 2");
  EXPECT_THAT(daemon_.receive_until("say").back().pieces, ElementsAre("utf8:say", "int32:2"));
  EXPECT_EQ(child.finish(), 0);
}

TEST_F(ALoggingProcess, EndsWithinHalfASecondWithoutADaemon) {
  Child child(remote, daemon_.directory());
  child.command("init 6");
  child.command("lines 5000");
  auto const start = std::chrono::steady_clock::now();
  EXPECT_EQ(child.finish(), 0);

  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
  EXPECT_THAT(child.errors(), HasSubstr("ara::log: no DLT daemon took the last"));
}

TEST_F(ALoggingProcess, LosesNoLineOfABurstBeforeItsEnd) {
  daemon_.start();
  Child child(remote, daemon_.directory());
  child.command("init 6");
  child.command("lines 5000");
  EXPECT_EQ(child.finish(), 0);

  EXPECT_EQ(count(daemon_.receive_until("end"), "utf8:a line of ordinary length with its number"), 5000);
}

// What the pipe to the daemon does not take waits in the library until the end of the process.
TEST_F(ALoggingProcess, WaitsAtItsEndForADaemonThatIsSlow) {
  daemon_.start();
  Child child(remote, daemon_.directory());
  child.command("init 6");
  daemon_.send_signal(SIGSTOP);
  child.command("lines 2000");
  daemon_.send_signal(SIGCONT);
  EXPECT_EQ(child.finish(), 0);

  EXPECT_EQ(count(daemon_.receive_until("end"), "utf8:a line of ordinary length with its number"), 2000);
}

TEST_F(ALoggingProcess, DoesNotWaitForADaemonThatHangs) {
  daemon_.start();
  Child child(remote, daemon_.directory());
  child.command("init 6");
  daemon_.send_signal(SIGSTOP);
  child.command("lines 2000");
  EXPECT_EQ(child.finish(), 0);
  EXPECT_THAT(child.errors(), HasSubstr("no DLT daemon took the last"));
}

TEST_F(ALoggingProcess, LogsFromManyThreads) {
  daemon_.start();
  Child child(remote | console, daemon_.directory());
  child.command("init 6");
  child.command("threads");
  EXPECT_EQ(child.finish(), 0);

  EXPECT_EQ(daemon_.receive_until("end").size(), 1001U);
  EXPECT_EQ(lines(child.output()), 1002);
}

TEST_F(ALoggingProcess, RefusesWhatItDoesNotHaveAndGoesOn) {
  Child child(console | 0x12, daemon_.directory());
  child.command("init 6");
  child.command("init 6");
  EXPECT_EQ(child.finish(), 0);

  EXPECT_EQ(child.errors(),
            "ara::log: log mode 0x12 (kFile is 0x2) is not available on this platform; only kRemote (0x1) and kConsole "
            "(0x4) are\n"
            "ara::log: log mode 0x12 (kFile is 0x2) is not available on this platform; only kRemote (0x1) and kConsole "
            "(0x4) are\n"
            "ara::log: InitLogging was called before; application id \"FLWT\" is not used\n");
  EXPECT_THAT(child.output(), HasSubstr("debug end\n"));
}

TEST_F(ALoggingProcess, LogsOnTheConsoleWhenDltCannotBeUsed) {
  Child child(remote | console, daemon_.directory() + "/missing/directory");
  child.command("init 6");
  EXPECT_EQ(child.finish(), 0);
  EXPECT_THAT(child.errors(), HasSubstr("ara::log: DLT cannot be used"));
  EXPECT_EQ(lines(child.output()), 2);
}

struct Output {
  char const* what;
  bool is_socket;
};

// The other end neither reads nor sets anything; what was dropped is told once there is room again.
TEST_F(ALoggingProcess, NeverWaitsForAFullOutputAndLeavesItsFlagsAlone) {
  for (auto const& [what, is_socket] : {Output{"pipe", false}, Output{"socket", true}}) {
    int ends[2];
    ASSERT_EQ(is_socket ? socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) : pipe2(ends, O_CLOEXEC), 0);
    Child child(console, daemon_.directory(), ends[1]);
    child.command("init 6");
    child.command("lines 10000");
    EXPECT_EQ(fcntl(ends[1], F_GETFL) & O_NONBLOCK, 0) << what;

    std::string output(1 << 20, '\0');
    output.resize(static_cast<std::size_t>(read(ends[0], output.data(), output.size())));
    child.command("say 1");
    EXPECT_EQ(child.finish(), 0) << what;
    close(ends[1]);
    std::string rest(1 << 20, '\0');
    for (ssize_t size = 1; size > 0;) {
      size = read(ends[0], rest.data(), rest.size());
      output.append(rest, 0, static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    }
    close(ends[0]);

    int dropped = 0;
    ASSERT_THAT(output, HasSubstr(" lines dropped here: ")) << what;
    std::istringstream(output.substr(output.find(" here: ") + 7)) >> dropped;
    // All lines, the three at the end, and the one about the dropped ones.
    EXPECT_EQ(lines(output) + dropped, 10000 + 3 + 1) << what;
    EXPECT_GT(dropped, 0) << what;
    EXPECT_THAT(output, HasSubstr("debug say 1\n")) << what;
  }
}

TEST_F(ALoggingProcess, SurvivesAClosedOutput) {
  Child without(console, daemon_.directory(), Child::closed);
  without.command("init 6");
  without.command("lines 10");
  EXPECT_EQ(without.finish(), 0);

  Child abandoned(console, daemon_.directory());
  abandoned.command("init 6");
  abandoned.abandon_output();
  abandoned.command("lines 10");
  EXPECT_EQ(abandoned.finish(), 0);
}

// Each signal is sent when the one before was handled; the main thread takes it only in sigsuspend, so that it would
// go to another thread that does not block it.
TEST_F(ALoggingProcess, HandlesEverySignalOnItsMainThread) {
  daemon_.start();
  Child child(remote | console, daemon_.directory());
  child.command("init 6");
  int threads = 0;
  for (auto const& task : std::filesystem::directory_iterator("/proc/" + std::to_string(child.process()) + "/task")) {
    std::ifstream file(task.path() / "status");
    std::string const status{std::istreambuf_iterator<char>(file), {}};
    if (status.find("Name:\tdlt_") != std::string::npos) {
      ++threads;
      auto const blocked = std::stoull(status.substr(status.find("SigBlk:") + 7), nullptr, 16);
      for (int const signal : {SIGHUP, SIGINT, SIGABRT, SIGUSR1, SIGALRM, SIGTERM, SIGCHLD}) {
        EXPECT_NE(blocked >> (signal - 1) & 1U, 0U) << signal;
      }
    }
  }
  EXPECT_GT(threads, 0);

  child.send("signals");
  child.reported<char>();
  for (int i = 0; i < 1000; ++i) {
    kill(child.process(), SIGTERM);
    ASSERT_EQ(child.reported<pid_t>(), child.process()) << i;
  }
  child.reported<char>();
  EXPECT_EQ(child.finish(), 0);
  EXPECT_EQ(lines(child.output()), 1002);
}

}  // namespace
