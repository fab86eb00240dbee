// SPDX-License-Identifier: Apache-2.0
#include "tests/scripted_platform/script.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <utility>

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
  std::vector<std::string> lines;
  auto const all = journal();
  std::copy_if(all.begin(), all.end(), std::back_inserter(lines),
               [](auto const& line) { return line.rfind("log ", 0) == 0; });
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
  std::unique_lock lock(state().mutex);
  auto const action = state().actions[name];
  lock.unlock();
  if (action) {
    action();
  }
}

Answers& answers() { return state().answers; }

}  // namespace script

/// Takes the place of the C library's: no test waits for the clock.
extern "C" unsigned sleep(unsigned seconds) {
  script::call("posix.sleep", std::to_string(seconds));
  return script::answers().unslept_seconds;
}
