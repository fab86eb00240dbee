// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_PLATFORM_PER_MACHINE_H
#define TESTS_PLATFORM_PER_MACHINE_H

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include <gmock/gmock.h>
#include <sqlite3.h>

#include "ara/per/key_value_storage.h"
#include "platform/src/per/open_stores.h"
#include "platform/src/per/storage.h"
#include "platform/src/per/usage_reader.h"

namespace per_test {

namespace per = linux_platform::per;
using namespace ara::per;
using namespace std::string_literals;
using testing::HasSubstr;
using testing::ThrowsMessage;

inline per::No_file_observer no_observer;

using State = std::map<std::string, std::string>;

/// A storage like KeyValueStorage, with settings, application and observer of the test's choice.
class Storage final : public ara::per::KeyValueStorageBase {
 public:
  explicit Storage(per::Per_settings const& settings, std::string const& application = "app",
                   std::string const& name = "store", per::File_observer& observer = no_observer)
      : KeyValueStorageBase(std::make_unique<KeyValueStorageBase::Storage>(
            per::Open_stores::of_this_process().open(settings, application, name, observer))) {}

  void put(std::string const& key, std::string const& text) { SetValue(key, KvsType(text)); }
  std::string get(std::string const& key) const { return GetValue(key).GetString(); }
  State all() const {
    State all;
    for (auto const& key : GetAllKeys()) {
      all[key] = get(key);
    }
    return all;
  }

  /// Stages changes of which no two are the same, and makes them to `state`.
  void stage(State& state, std::size_t number) {
    for (std::size_t i = 0; i < 3; ++i) {
      auto const key = "key " + std::to_string((7 * number + i) % 40);
      put(key, state[key] = "value " + std::to_string(number) + std::string(70, 'v'));
    }
    auto const gone = "key " + std::to_string(3 * number % 40);
    RemoveKey(gone);
    state.erase(gone);
  }
};

/// A machine's root and run directory, in a folder of their own that goes with the object, where a sync costs nothing.
class Machine {
 public:
  Machine() {
    chmod(mkdtemp(folder_.data()), 0755);
    settings.root = folder_ + "/root";
    settings.run_directory = folder_ + "/run";
    settings.lock_wait = std::chrono::milliseconds{0};
    std::filesystem::create_directory(settings.root);
    std::filesystem::create_directory(settings.run_directory);
  }
  ~Machine() {
    std::error_code error;
    std::filesystem::remove_all(folder_, error);
  }
  Machine(Machine const&) = delete;
  Machine& operator=(Machine const&) = delete;

  std::string folder() const { return settings.root + "/app"; }
  std::string file() const { return folder() + "/store.db"; }
  std::string log() const { return file() + "-wal"; }
  std::string counters() const { return settings.run_directory + "/app/store.counters"; }

  /// Of the only application.
  per::Application_usage usage() const {
    auto const applications = per::Usage_reader(settings).read().applications;
    EXPECT_EQ(applications.size(), 1U);
    return applications.at(0);
  }

  /// Sets "k" to "v".
  void commit_once(std::string const& application = "app") const {
    Storage storage(settings, application);
    storage.put("k", "v");
    storage.SyncToStorage();
  }

  /// What the ordinary tool makes of the store: the SQLite result.
  int as_tool(char const* sql) const {
    sqlite3* tool = nullptr;
    sqlite3_open(file().c_str(), &tool);
    auto const result = sqlite3_exec(tool, sql, nullptr, nullptr, nullptr);
    sqlite3_close(tool);
    return result;
  }

  /// What a restart of the machine leaves.
  void lose_run_directory() const {
    std::filesystem::remove_all(settings.run_directory);
    std::filesystem::create_directory(settings.run_directory);
  }

  per::Per_settings settings;

 private:
  std::string folder_ = (access("/dev/shm", W_OK) == 0 ? "/dev/shm" : testing::TempDir()) + "/per_test_XXXXXX"s;
};

inline std::string read_file(std::string const& path) {
  std::ifstream file(std::filesystem::is_regular_file(path) ? path : "", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void write_file(std::string const& path, std::string const& content) {
  std::ofstream(path, std::ios::binary) << content;
}

/// A process of its own. It ends with its function (exit code 0, 1 after a failure) or with the object.
class Child {
 public:
  explicit Child(std::function<void()> const& work) : pid_(fork()) {
    if (pid_ == 0) {
      try {
        work();
        _exit(testing::Test::HasFailure() ? 1 : 0);
      } catch (std::exception const& e) {
        std::cerr << "child: " << e.what() << std::endl;
        _exit(1);
      }
    }
  }
  ~Child() {
    if (pid_ > 0) {
      kill(pid_, SIGKILL);
      exit_code();
    }
  }
  Child(Child const&) = delete;
  Child& operator=(Child const&) = delete;

  /// Returns when it has stopped itself.
  void await_stop() const {
    int status = 0;
    waitpid(pid_, &status, WUNTRACED);
    ASSERT_TRUE(WIFSTOPPED(status));
  }
  void go_on() const { kill(pid_, SIGCONT); }
  /// -1 when a signal ended it.
  int exit_code() {
    int status = 0;
    waitpid(std::exchange(pid_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t pid_;
};

}  // namespace per_test

#endif
