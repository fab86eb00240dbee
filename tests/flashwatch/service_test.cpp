// SPDX-License-Identifier: Apache-2.0
// The whole service on the scripted platform, from its first to its last log line: every scene of scenes.json says how
// a run differs from a good one, and what the journal then holds; without that, the process is to die.
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <fstream>
#include <iomanip>
#include <locale>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ara/per/exceptions.h"
#include "flashwatch/app/run_application.h"
#include "flashwatch/app/shutdown_requested.h"
#include "flashwatch/config/file_reader.h"
#include "flashwatch/stats/entry_codec.h"
#include "tarn/com/cpp_binding/application_error_exception.h"
#include "tarn/com/cpp_binding/serializer.h"
#include "tarn/com/exceptions.h"
#include "tests/scripted_platform/script.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using nlohmann::json;
using script::answers;
using Bytes = std::vector<std::uint8_t>;

std::map<std::string, json> files;  ///< what stands in /etc

}  // namespace

/// Takes the place of the reader of real files in this program.
std::string File_reader::get_content(std::string const& path) const {
  return !files[path].is_null() ? files[path].dump() : throw std::runtime_error("no " + path);
}

namespace {

void apply(json const& given);

/// Each application is its id and eight figures: read, write, setvalue of the session and in total, both limits.
void serve(json const& applications) {
  answers().reply.clear();
  tarn::com::cpp_binding::Serializer out(answers().reply, {});
  int key = 1000;  // orders the applications but does not name them
  out.write_record([&] {
    out.write_array([&] {
      for (auto const& application : applications) {
        out.write_string(std::to_string(key++));
        out.write_record([&] {
          out.write_string(application.at(0).get<std::string>());
          std::for_each(application.begin() + 1, application.end(), [&](json const& figure) { out.write_u64(figure); });
        });
      }
    });
  });
}

void store_bytes(Bytes const& bytes) {
  answers().stored.insert_or_assign("nav", ara::per::KvsType(bytes.data(), bytes.size()));
}

/// A record: first use, soft and hard limit, years.
void store_record(json const& record) {
  auto const bytes = encode({record.at(0), {record.at(1), record.at(2)}, record.at(3)});
  store_bytes({bytes.begin(), bytes.end()});
}

void note_bytes(std::string const& what, Bytes const& bytes) {
  std::ostringstream text;
  text << what << std::hex << std::setfill('0');
  std::for_each(bytes.begin(), bytes.end(), [&](auto byte) { text << " " << std::setw(2) << unsigned{byte}; });
  script::note(text.str());
}

void read(std::string const& interface) {
  try {
    note_bytes("read", script::request(interface, 1));
  } catch (tarn::com::cpp_binding::Application_error_exception const& error) {
    Bytes bytes;
    error.serialize(bytes);
    note_bytes(std::string("failed ") + error.what(), bytes);
  }
}

void fail(std::string const& type) {
  static std::map<std::string, void (*)()> const exceptions{
      {"Transport_exception", [] { throw tarn::com::Transport_exception(7, "cut off"); }},
      {"Service_not_available_exception", [] { throw tarn::com::Service_not_available_exception("nobody"); }},
      {"ExceptionPhysicalStorageError", [] { throw ara::per::ExceptionPhysicalStorageError("checksum"); }},
      {"ExceptionStorageLocationNotFound", [] { throw ara::per::ExceptionStorageLocationNotFound("no root"); }},
      {"system_error", [] { throw std::system_error(0, std::system_category(), "no"); }},
      {"runtime_error", [] { throw std::runtime_error("broken"); }},
      {"int", [] { throw 5; }}};
  exceptions.at(type)();
}

/// Effects that come with a call of the platform, under its name and the number of the call: "posix.sleep 2". They
/// take the place of those that the call, under whatever number, had before.
void wait_for(json const& calls) {
  std::set<std::string> names;
  for (auto const& [call, effects] : calls.items()) {
    auto const space = call.find(' ');
    EXPECT_TRUE(names.insert(call.substr(0, space)).second) << call << " takes the place of another";
    auto const left = std::make_shared<int>(std::stoi(call.substr(space)));
    script::on(call.substr(0, space), [=, effects = effects] { --*left == 0 ? apply(effects) : void(); });
  }
}

/// A signal cuts the current sleep short by a second.
void send_signal(int signal) {
  answers().signal_handlers.at(signal)(signal);
  answers().unslept_seconds = 1;
}

void offer(json const& instances) {
  answers().offered.clear();
  std::for_each(instances.begin(), instances.end(), [](auto const& each) { answers().offered.push_back({each}); });
}

/// An object of effects, or a list of them where their order matters.
void apply(json const& given) {
  static std::map<std::string, void (*)(json const&)> const effects{
      {"configuration", [](json const& value) { files["/etc/flashwatch.json"] = value; }},
      {"scids", [](json const& value) { files["/etc/scid_mapping.json"] = value; }},
      {"serve", serve},
      {"store_record", store_record},
      {"store_bytes", [](json const& value) { store_bytes(value); }},
      {"forget_stored", [](json const&) { answers().stored.clear(); }},
      {"show_stored", [](json const&) { note_bytes("stored", answers().stored.at("nav").GetBinary()); }},
      {"offer", offer},
      {"at", wait_for},
      {"raise", [](json const& value) { send_signal(value); }},
      {"stop", [](json const&) { shutdown_requested = true; }},
      {"read", [](json const& value) { read(value); }},
      {"cancel", [](json const& value) { note_bytes("cancelled", script::request(value, 0)); }},
      {"throw", [](json const& value) { fail(value); }},
      {"now", [](json const& value) { answers().now = value; }},
      {"unslept_seconds", [](json const& value) { answers().unslept_seconds = value; }},
      {"refused_signal", [](json const& value) { answers().refused_signal = value; }},
      {"supervision_status", [](json const& value) { answers().supervision_status = value; }},
      {"state_report", [](json const& value) { answers().state_report = value; }}};
  for (auto const& each : given.is_array() ? given : json::array({given})) {
    for (auto const& [effect, value] : each.items()) {
      effects.at(effect)(value);
    }
  }
}

/// An entry of the journal or a list of them; a list that begins with a number stands that many times.
std::string entries(json const& expected) {
  if (expected.is_string()) {
    return expected.get<std::string>() + "\n";
  }
  bool const counted = !expected.empty() && expected.front().is_number();
  std::string text;
  for (int times = counted ? expected.front().get<int>() : 1; times > 0; --times) {
    std::for_each(expected.begin() + (counted ? 1 : 0), expected.end(),
                  [&](auto const& each) { text += entries(each); });
  }
  return text;
}

/// Digits in groups, which no line of the service may show.
struct Grouped : std::numpunct<char> {
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

struct TheService : testing::Test {
  /// A machine on which all goes well: both files, one application, one instance of the statistics service, and a
  /// termination signal in the second minute.
  TheService() {
    std::locale::global(std::locale(std::locale::classic(), new Grouped));
    script::reset();
    shutdown_requested = false;
    apply(json::parse(R"({
      "configuration": {"pm_instance_id": "pm", "own_instance_id": "own", "log_period": 1},
      "scids": {"mappings": [{"app_name": "nav", "scid": 4386}]},
      "offer": [1], "serve": [["nav", 1, 2, 3, 4, 5, 6, 7, 8]], "at": {"posix.sleep 2": {"raise": 15}}})"));
  }
  ~TheService() override { std::locale::global(std::locale::classic()); }
  static void run() { script::note("ended with " + std::to_string(run_application())); }
};

struct AScene : TheService, testing::WithParamInterface<json> {};

TEST_P(AScene, IsTold) {
  apply(GetParam().value("given", json::object()));
  if (!GetParam().contains("expected")) {         // it dies
    std::locale::global(std::locale::classic());  // GoogleTest itself reads numbers here
    EXPECT_EXIT(run(), testing::KilledBySignal(SIGABRT), "");
    return;
  }
  run();
  EXPECT_EQ(script::journal(GetParam().at("journal")), entries(GetParam().at("expected")));
}

json scenes() {
  json all;
  for (auto const& group : json::parse(std::ifstream(SCENES))) {
    for (auto scene : group.at("scenes")) {
      scene["journal"] = group.at("journal");
      all.push_back(scene);
    }
  }
  return all;
}

std::string name_of(testing::TestParamInfo<json> const& scene) {
  auto name = scene.param.at("what").get<std::string>();
  std::replace_if(
      name.begin(), name.end(), [](char letter) { return std::isalnum(letter) == 0; }, '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(All, AScene, testing::ValuesIn(scenes()), name_of);

TEST_F(TheService, AnswersManyReadingsAtOnceButAsksForTheStatisticsOneByOne) {
  std::mutex mutex;
  std::condition_variable more;
  int asking = 0;
  script::on("com.send", [&] {
    std::unique_lock lock(mutex);
    ++asking;
    more.notify_one();
    EXPECT_FALSE(more.wait_for(lock, std::chrono::milliseconds(10), [&] { return asking > 1; }));
    --asking;
  });
  script::on("posix.sleep", [] {
    std::vector<std::thread> testers(8);
    for (auto& tester : testers) {
      tester = std::thread([] { read("DataIdentifier_FlashwatchReport"); });
    }
    std::for_each(testers.begin(), testers.end(), [](auto& tester) { tester.join(); });
    send_signal(SIGTERM);
  });
  run();
  EXPECT_EQ(script::journal("^per.S|^ended"), "per.SetValue(nav)\nper.SyncToStorage()\nended with 0\n");
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
