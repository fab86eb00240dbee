// SPDX-License-Identifier: Apache-2.0
// The whole service on the scripted platform, from its first to its last log line, with the files that a test gives it.
#include "flashwatch/app/run_application.h"

#include <algorithm>
#include <csignal>
#include <set>
#include <stdexcept>

#include "flashwatch/app/shutdown_requested.h"
#include "flashwatch/config/file_reader.h"
#include "orvel/persistency/statistics.h"
#include "tarn/com/exceptions.h"
#include "tests/flashwatch/room_test.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using Steps = std::vector<std::string>;

std::map<std::string, std::string> files;  ///< what stands in /etc

}  // namespace

/// Takes the place of the reader of real files in this program.
std::string File_reader::get_content(std::string const& path) const {
  auto const found = files.find(path);
  return found != files.end() ? found->second : throw std::runtime_error("no " + path);
}

namespace {

struct TheApplication : Room_test {
  void SetUp() override {
    script::reset();
    shutdown_requested = false;
    files = {{"/etc/flashwatch.json", R"({"pm_instance_id": "pm", "own_instance_id": "own", "log_period": 1})"},
             {"/etc/scid_mapping.json", R"({"mappings": [{"app_name": "nav", "scid": 7}]})"}};
    answers().offered = {{1}};
    tarn::com::cpp_binding::Serializer out(answers().reply, {});
    persistency::write_kvs_statistics(out, {{"nav", {"nav", 0, 1, 2, 0, 30, 40, 20, 50}}});
    at_minute(2, SIGTERM);
  }
  void TearDown() override {
    for (int const signal : {SIGTERM, SIGABRT, SIGINT}) {
      std::signal(signal, SIG_DFL);
    }
  }
  /// The signal arrives in that sleep and cuts it short.
  static void at_minute(int number, int signal) {
    on("posix.sleep", [=, sleeps = std::make_shared<int>(0)] {
      if (++*sleeps == number) {
        answers().unslept_seconds = 1;
        std::raise(signal);
      }
    });
  }
  /// The `number`-th call of that name throws.
  template <typename Exception>
  static void fail(std::string const& name, int number, Exception const& exception) {
    on(name, [=, calls = std::make_shared<int>(0)] { ++*calls == number ? throw exception : void(); });
  }
  /// Those of the journal's entries that begin with one of these, in order and cut to that.
  static Steps steps(Steps const& beginnings) {
    Steps found;
    for (auto const& entry : journal()) {
      std::copy_if(beginnings.begin(), beginnings.end(), std::back_inserter(found),
                   [&](auto const& beginning) { return entry.rfind(beginning, 0) == 0; });
    }
    return found;
  }
  template <typename... Pieces>
  static std::string data(Pieces const&... pieces) {
    return log_line("DATA", ara::log::LogLevel::kInfo, pieces...);
  }
  static std::string failure(std::string const& text) {
    return error("Exception:", text, "caught - application will terminate");
  }

  std::string const component_gone_ = "com.~Component_singleton()";
  std::string const finished_ = debug("Application finished");
  std::string const running_ = "exec.ReportApplicationState(0)";
  std::string const terminating_ = "exec.ReportApplicationState(1)";
  std::string const withdraw_ = "com.StopOfferService";
};

TEST_F(TheApplication, LogsOnceAPeriodAndOnceMoreWhenASignalEndsIt) {
  EXPECT_EQ(run_application(), 0);
  Steps const life{"log.InitLogging(FLWT, flashwatch, 6, 5, \"\")",
                   "com.Component_singleton(false, \"\")",
                   "log.CreateLogger",
                   "per.KeyValueStorage",
                   "phm.Phm_client",
                   "com.Skeleton(DataIdentifier_F",
                   "com.Skeleton(DataIdentifier_E",
                   "exec.ApplicationClient",
                   "com.FindService",
                   "com.OfferService",
                   "com.OfferService",
                   running_,
                   "posix.sleep(60)",
                   "phm.CheckpointReached",
                   data("nav", "year limits(20, 50)", "acc limits(20, 50)", "year in use(1)"),
                   data("nav", "session(1, 2)", "total(30, 40)", "budget(-10, 20)"),
                   "posix.sleep(60)",
                   debug("Shutdown will proceed"),
                   data("nav", "session(1, 2)", "total(30, 40)", "budget(-10, 20)"),
                   terminating_,
                   finished_,
                   withdraw_,
                   withdraw_,
                   "exec.~ApplicationClient",
                   "com.~Skeleton(DataIdentifier_E",
                   "com.~Skeleton(DataIdentifier_F",
                   "per.~KeyValueStorage",
                   "com.~Proxy",
                   component_gone_};
  std::set<std::string> const each(life.begin(), life.end());
  EXPECT_EQ(steps({each.begin(), each.end()}), life);
  EXPECT_EQ(journal().back(), component_gone_);
}

TEST_F(TheApplication, EndsInGoodOrderOnTheOtherHandledSignals) {
  for (int const signal : {SIGABRT, SIGINT}) {
    SetUp();
    at_minute(1, signal);
    EXPECT_EQ(run_application(), 0);
    EXPECT_TRUE(shutdown_requested);
  }
}

TEST_F(TheApplication, AnswersReadingsWhileItWaits) {
  Bytes report;
  Bytes exceeded;
  on("posix.sleep", [&] {
    report = request("DataIdentifier_FlashwatchReport", 1);
    exceeded = request("DataIdentifier_EMMCBudgetExceedance", 1);
    answers().unslept_seconds = 1;
  });
  EXPECT_EQ(run_application(), 0);
  EXPECT_EQ(report, (Bytes{0, 0, 0, 1,  1, 0, 0, 0, 32, 0, 0, 0,  0, 0, 0, 0, 7, 0, 0, 0, 0,
                           0, 0, 0, 20, 0, 0, 0, 0, 0,  0, 0, 30, 0, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(exceeded, Bytes{1});
}

TEST_F(TheApplication, RunsWithoutPeriodicLoggingAndWithoutDiagnostics) {
  files = {{"/etc/flashwatch.json", R"({"pm_instance_id": "pm", "log_period": 0})"}};
  at_minute(31, SIGTERM);
  EXPECT_EQ(run_application(), 0);
  EXPECT_EQ(steps({"posix.sleep(60)"}).size(), 31U);
  EXPECT_THAT(steps({"log DATA", "com.Skeleton", debug("Shutdown will proceed")}),
              ElementsAre(debug("Shutdown will proceed"), "log DATA", "log DATA"));
}

TEST_F(TheApplication, LosesACycleButNotItsLifeWhenTheStatisticsServiceFails) {
  fail("com.send", 1, tarn::com::Transport_exception(1, "cut off"));
  EXPECT_EQ(run_application(), 0);
  EXPECT_THAT(steps({"log DATA", debug("Shutdown will proceed")}),
              ElementsAre(debug("Shutdown will proceed"), "log DATA"));  // the limits' lines are lost for good
}

TEST_F(TheApplication, ReleasesEverythingBeforeItLogsWhyItEnds) {
  std::string const not_found = "get_KVS_statistics: statistics service \"pm\" was not found before the search ended";
  for (auto const& [what, given, line, expected] :
       std::vector<std::tuple<std::string, std::function<void()>, std::string, Steps>>{
           {"no configuration", [] { files.clear(); }, failure("no /etc/flashwatch.json"), {component_gone_}},
           {"no communication",
            [] { fail("com.Component_singleton", 1, std::runtime_error("no address")); },
            failure("no address"),
            {}},
           {"something unknown",
            [] { fail("per.KeyValueStorage", 1, 5); },
            error("Exception: unknown caught - application will terminate"),
            {component_gone_}},
           {"a refused offer",
            [] { fail("com.OfferService", 2, tarn::com::Invalid_argument_exception("own")); },
            failure("own"),
            {withdraw_, withdraw_, component_gone_}},
           {"a statistics service that fails at the end",
            [] { fail("com.send", 2, tarn::com::Transport_exception(1, "cut off")); },
            failure("cut off"),
            {running_, withdraw_, withdraw_, component_gone_}},
           {"a stop during the search",
            [] {
              answers().offered.clear();
              at_minute(1, SIGTERM);
            },
            failure(not_found),
            {running_, withdraw_, withdraw_, component_gone_}}}) {
    SCOPED_TRACE(what);
    SetUp();
    given();
    EXPECT_EQ(run_application(), 1);
    EXPECT_EQ(journal().back(), line);
    EXPECT_EQ(steps({running_, terminating_, withdraw_, component_gone_, finished_}), expected);
  }
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
