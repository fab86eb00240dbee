// SPDX-License-Identifier: Apache-2.0
#include "tests/scripted_platform/script.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <utility>

#include "ara/log/logging.h"

namespace script {
namespace {

struct State {
  std::mutex mutex;
  std::vector<std::string> journal;
  std::map<std::string, std::function<void()>> actions;
  Answers answers;
};

State& state() {
  static State instance;
  return instance;
}

}  // namespace

void reset() {
  std::lock_guard const lock(state().mutex);
  state().journal.clear();
  state().actions.clear();
  state().answers = {};
}

std::vector<std::string> journal() {
  std::lock_guard const lock(state().mutex);
  return state().journal;
}

std::vector<std::string> log() {
  auto lines = journal();
  lines.erase(std::remove_if(lines.begin(), lines.end(), [](auto const& line) { return line.rfind("log ", 0) != 0; }),
              lines.end());
  return lines;
}

void on(std::string const& call, std::function<void()> action) {
  std::lock_guard const lock(state().mutex);
  state().actions[call] = std::move(action);
}

void note(std::string entry) {
  std::lock_guard const lock(state().mutex);
  state().journal.push_back(std::move(entry));
}

void call(std::string const& name, std::string const& arguments) {
  note(name + "(" + arguments + ")");
  std::function<void()> action;
  {
    std::lock_guard const lock(state().mutex);
    auto const found = state().actions.find(name);
    if (found == state().actions.end()) {
      return;
    }
    action = found->second;
  }
  action();
}

Answers& answers() { return state().answers; }

}  // namespace script

/// Takes the place of the C library's: no test waits for the clock.
extern "C" unsigned sleep(unsigned seconds) {
  script::call("posix.sleep", std::to_string(seconds));
  return script::answers().unslept_seconds;
}
