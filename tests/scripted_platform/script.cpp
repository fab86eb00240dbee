// SPDX-License-Identifier: Apache-2.0
#include "tests/scripted_platform/script.h"

#include <csignal>
#include <mutex>
#include <regex>
#include <utility>

namespace script {
namespace {

struct State {
  std::vector<std::string> journal;
  std::map<std::string, std::function<void()>> actions;
  Answers answers;
};
State state;
std::mutex mutex;  ///< of the journal and the actions

}  // namespace

void reset() { state = {}; }

std::string journal(std::string const& pattern) {
  std::lock_guard const lock(mutex);
  std::string text;
  for (auto const& entry : state.journal) {
    text += std::regex_search(entry, std::regex(pattern)) ? entry + "\n" : "";
  }
  return text;
}

void on(std::string const& call, std::function<void()> action) {
  std::lock_guard const lock(mutex);
  state.actions[call] = std::move(action);
}

void note(std::string entry) {
  std::lock_guard const lock(mutex);
  state.journal.push_back(std::move(entry));
}

void call(std::string const& name, std::string const& arguments) {
  note(name + "(" + arguments + ")");
  std::unique_lock lock(mutex);
  auto const action = state.actions[name];
  lock.unlock();
  if (action) {
    action();
  }
}

Answers& answers() { return state.answers; }

}  // namespace script

// In the place of the C library's: no test waits for the clock, and a signal arrives when the test calls its handler.
extern "C" {

unsigned sleep(unsigned seconds) {
  script::call("posix.sleep", std::to_string(seconds));
  return script::answers().unslept_seconds;
}

std::time_t time(std::time_t* /*always null*/) noexcept { return script::answers().now; }

void (*signal(int number, void (*handler)(int)) noexcept)(int) {
  script::call("posix.signal", std::to_string(number));
  auto& answers = script::answers();
  return number == answers.refused_signal ? SIG_ERR : std::exchange(answers.signal_handlers[number], handler);
}
}
