// SPDX-License-Identifier: Apache-2.0
// A program that logs as the test tells it: log_program MODE. Commands come as lines on standard input, a socket; a
// byte goes back when one is done.
#include <chrono>
#include <cstdint>
#include <iostream>
#include <limits>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "ara/log/logging.h"

namespace {

using namespace std::string_literals;
namespace log = ara::log;

// Destroyed after main, when the exit handlers that InitLogging registered are through.
struct Logs_at_exit {
  ~Logs_at_exit() { log::LogInfo() << "from a static destructor"; }
} const logs_at_exit;

void log_types() {
  log::CreateLogger("DATA", "data").LogWarn()
      << true << std::int8_t{-5} << std::uint8_t{200} << 'A' << std::int16_t{-300} << std::uint16_t{60000} << -7 << 7U
      << std::numeric_limits<std::int64_t>::min() << std::numeric_limits<std::uint64_t>::max() << 1.5F << -2.25 << "c"
      << "a\0\n\x1b\xff"s << std::string_view("\u00e9") << static_cast<char const*>(nullptr);
}

/// From several threads at once.
void log_lines(int count) {
  constexpr int thread_count = 4;
  std::vector<std::thread> threads;
  threads.reserve(thread_count);
  for (int number = 0; number < thread_count; ++number) {
    threads.emplace_back([number, count] {
      for (int i = number; i < count; i += thread_count) {
        log::CreateLogger("T" + std::to_string(i % 20), "threads").LogDebug()
            << "a line of ordinary length, number" << i;
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
}

bool await_level(int level) {
  auto const limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (static_cast<int>(log::DefaultLogger().level()) != level && std::chrono::steady_clock::now() < limit) {
    std::this_thread::yield();
  }
  return static_cast<int>(log::DefaultLogger().level()) == level;
}

void obey(std::string const& command, int argument, log::LogMode mode) {
  if (command == "init") {
    log::InitLogging("FLWT", "flashwatch", static_cast<log::LogLevel>(argument), mode, "");
  } else if (command == "types") {
    log_types();
  } else if (command == "lines") {
    log_lines(argument);
  } else if (command == "await-level" && !await_level(argument)) {
    std::exit(2);
  } else if (command == "say") {
    log::LogDebug() << "say" << argument;
  } else if (command == "alarm") {
    log::LogFatal() << "alarm";
  }
}

}  // namespace

int main(int, char** arguments) {
  auto const mode = static_cast<log::LogMode>(std::stoi(arguments[1]));
  std::string line;
  while (std::getline(std::cin, line)) {
    std::istringstream words(line);
    std::string command;
    int argument = 0;
    words >> command >> argument;
    obey(command, argument, mode);
    [[maybe_unused]] auto const written = write(STDIN_FILENO, "", 1);
  }
  log::LogDebug() << "end";
}
