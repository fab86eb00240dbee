// SPDX-License-Identifier: Apache-2.0
// Whole processes that log, with a real DLT daemon, with none, and with standard outputs that do not behave.
#include <algorithm>
#include <array>
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
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr int remote = 1;
constexpr int console = 4;

class ALoggingProcess : public testing::Test {
 protected:
  static int count(std::vector<Dlt_message> const& messages, std::string const& text) {
    return static_cast<int>(std::count_if(messages.begin(), messages.end(), [&text](auto const& message) {
      return message.payload.find(text) != std::string::npos;
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
  EXPECT_EQ(message.context, "DATA");
  EXPECT_EQ(message.level, 3);
  EXPECT_EQ(message.argument_count, 16);
  // clang-format off
  EXPECT_EQ(message.payload, "\x11\0\0\0" "\x01"s                                // boolean
                             "\x21\0\0\0" "\xFB" "\x41\0\0\0" "\xC8"s           // 8 bits, signed and unsigned
                             "\x21\0\0\0" "A"s                                   // a character is a number
                             "\x22\0\0\0" "\xD4\xFE" "\x42\0\0\0" "\x60\xEA"s   // 16 bits
                             "\x23\0\0\0" "\xF9\xFF\xFF\xFF" "\x43\0\0\0" "\x07\0\0\0"s
                             "\x24\0\0\0" "\0\0\0\0\0\0\0\x80"s
                             "\x44\0\0\0" "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s
                             "\x83\0\0\0" "\0\0\xC0\x3F"s                       // floating point, 32 and 64 bits
                             "\x84\0\0\0" "\0\0\0\0\0\0\x02\xC0"s
                             "\0\x82\0\0" "\x02\0" "c\0"s                       // UTF-8 with length and NUL
                             "\0\x82\0\0" "\x06\0" "a\0\n\x1B\xFF\0"s
                             "\0\x82\0\0" "\x03\0" "\u00e9\0"s
                             "\0\x82\0\0" "\x01\0" "\0"s);
  // clang-format on
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
  EXPECT_EQ(count(messages, "a line of ordinary length"), 256);
  EXPECT_THAT(messages.at(256).payload, EndsWith("log records lost before the log was initialised:\0"
                                                 "\x44\0\0\0"
                                                 "\x2C\0\0\0\0\0\0\0"s));
  EXPECT_EQ(lines(child.output()), 256 + 3);
}

// libdlt itself would take over the default level of a daemon that comes back.
TEST_F(ALoggingProcess, FollowsTheLevelThatTheDaemonSetsAndGivesItsOwnToANewDaemon) {
  daemon_.start();
  Child child(remote, daemon_.directory());
  child.command("init 6");
  daemon_.set_level("FLWT", "DFLT", 2);
  child.command("await-level 2");
  child.command("say 1");
  daemon_.stop();
  daemon_.start(4);
  // libdlt notices that a daemon has gone when it has something to send.
  child.command("alarm");
  child.command("await-level 6");
  child.command("say 2");
  EXPECT_EQ(child.finish(), 0);

  auto const messages = daemon_.receive_until("end");
  EXPECT_EQ(count(messages, "alarm"), 1);
  EXPECT_EQ(count(messages, "say"), 1);
}

TEST_F(ALoggingProcess, ReachesADaemonThatComesLate) {
  Child child(remote, daemon_.directory());
  child.command("init 6");
  child.command("say 1");
  daemon_.start(4);
  EXPECT_EQ(daemon_.receive_until("say").size(), 1U);
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

  EXPECT_EQ(count(daemon_.receive_until("end"), "a line of ordinary length"), 5000);
}

// What the pipe to the daemon does not take waits in the library: for a while also after the end of main.
TEST_F(ALoggingProcess, WaitsAtItsEndForADaemonThatIsSlowButNotForOneThatHangs) {
  daemon_.start();
  for (bool const hangs : {false, true}) {
    Child child(remote, daemon_.directory());
    child.command("init 6");
    daemon_.send_signal(SIGSTOP);
    child.command("lines 3000");
    child.end();
    if (hangs) {
      EXPECT_EQ(child.finish(), 0);
      EXPECT_THAT(child.errors(), HasSubstr("no DLT daemon took the last"));
    } else {
      daemon_.send_signal(SIGCONT);
      EXPECT_EQ(child.finish(), 0);
      EXPECT_EQ(count(daemon_.receive_until("end"), "a line of ordinary length"), 3000);
    }
  }
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

  EXPECT_THAT(child.errors(), StartsWith("ara::log: log mode 0x12 (kFile is 0x2) is not available on this platform"));
  EXPECT_THAT(child.errors(), EndsWith("InitLogging was called before; application id \"FLWT\" is not used\n"));
  EXPECT_EQ(lines(child.errors()), 3);
  EXPECT_THAT(child.output(), HasSubstr("debug end\n"));
}

TEST_F(ALoggingProcess, LogsOnTheConsoleWhenDltCannotBeUsed) {
  Child child(remote | console, daemon_.directory() + "/missing/directory");
  child.command("init 6");
  EXPECT_EQ(child.finish(), 0);
  EXPECT_THAT(child.errors(), HasSubstr("ara::log: DLT cannot be used"));
  EXPECT_EQ(lines(child.output()), 2);
}

// The other end does not read for a while; what was dropped meanwhile is told once there is room again.
TEST_F(ALoggingProcess, NeverWaitsForAFullOutputAndLeavesItsFlagsAlone) {
  for (bool const is_socket : {false, true}) {
    std::array<int, 2> ends{};
    ASSERT_EQ(
        is_socket ? socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) : pipe2(ends.data(), O_CLOEXEC), 0);
    Child child(console, daemon_.directory(), ends[1]);
    child.command("init 6");
    child.command("lines 10000");
    EXPECT_EQ(fcntl(ends[1], F_GETFL) & O_NONBLOCK, 0) << is_socket;
    std::string output(1 << 20, '\0');
    auto size = static_cast<std::size_t>(read(ends[0], output.data(), output.size()));
    child.command("say 1");
    EXPECT_EQ(child.finish(), 0) << is_socket;
    close(ends[1]);
    for (ssize_t more = 1; more > 0; size += static_cast<std::size_t>(more)) {
      more = read(ends[0], output.data() + size, output.size() - size);
    }
    output.resize(size);
    close(ends[0]);

    int dropped = 0;
    ASSERT_THAT(output, HasSubstr(" lines dropped here: ")) << is_socket;
    std::istringstream(output.substr(output.find(" here: ") + 7)) >> dropped;
    EXPECT_GT(dropped, 0) << is_socket;
    // All lines, the three at the end, and the one about the dropped ones.
    EXPECT_EQ(lines(output) + dropped, 10000 + 3 + 1) << is_socket;
    EXPECT_THAT(output, HasSubstr("debug say 1\n")) << is_socket;
  }
}

TEST_F(ALoggingProcess, SurvivesAnOutputThatIsClosedOrThatNobodyWillEverRead) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  close(ends[0]);
  for (int const output : {Child::closed, ends[1]}) {
    Child child(console, daemon_.directory(), output);
    child.command("init 6");
    child.command("lines 10");
    EXPECT_EQ(child.finish(), 0);
  }
  close(ends[1]);
}

// Each signal is sent when the one before was handled; the main thread takes it only in sigsuspend, so that it would
// go to another thread that does not block it.
TEST_F(ALoggingProcess, HandlesEverySignalOnItsMainThread) {
  daemon_.start();
  Child child(remote | console, daemon_.directory());
  child.command("init 6");
  int others = 0;
  for (auto const& task : std::filesystem::directory_iterator("/proc/" + std::to_string(child.process()) + "/task")) {
    if (task.path().filename() == std::to_string(child.process())) {
      continue;
    }
    ++others;
    std::ifstream file(task.path() / "status");
    std::string const status{std::istreambuf_iterator<char>(file), {}};
    auto const blocked = std::stoull(status.substr(status.find("SigBlk:") + 7), nullptr, 16);
    for (int const signal : {SIGHUP, SIGINT, SIGABRT, SIGUSR1, SIGALRM, SIGTERM, SIGCHLD}) {
      EXPECT_NE(blocked >> (signal - 1) & 1U, 0U) << signal;
    }
  }
  EXPECT_GT(others, 0) << "no thread of libdlt";

  child.send("signals");
  child.reported();
  for (int i = 0; i < 1000; ++i) {
    kill(child.process(), SIGTERM);
    ASSERT_EQ(child.reported(), child.process()) << i;
  }
  child.reported();
  EXPECT_EQ(child.finish(), 0);
  EXPECT_EQ(lines(child.output()), 1002);
}

}  // namespace
