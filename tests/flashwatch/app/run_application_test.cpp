// SPDX-License-Identifier: Apache-2.0
// The whole service on the scripted platform, from its first to its last log line, with the files that a test gives it.
#include "flashwatch/app/run_application.h"

#include <csignal>
#include <stdexcept>

#include <gmock/gmock.h>

#include "ara/log/logging.h"
#include "flashwatch/app/shutdown_requested.h"
#include "flashwatch/config/file_reader.h"
#include "orvel/persistency/statistics.h"
#include "tarn/com/exceptions.h"
#include "tests/scripted_platform/script.h"

namespace orvel::flashwatch {
namespace {

std::map<std::string, std::string> files;  ///< what stands in /etc

}  // namespace

/// Takes the place of the reader of real files in this program.
std::string diagnostics::File_reader::get_content(std::string const& path) const {
  auto const found = files.find(path);
  if (found == files.end()) {
    throw std::runtime_error("no " + path);
  }
  return found->second;
}

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

struct TheApplication : ::testing::Test {
  void SetUp() override {
    script::reset();
    shutdown_requested = false;
    files = {{"/etc/flashwatch.json", R"({"pm_instance_id": "pm", "own_instance_id": "own", "log_period": 1})"},
             {"/etc/scid_mapping.json", R"({"mappings": [{"app_name": "nav", "scid": 7}]})"}};
    script::answers().offered = {{1}};
    tarn::com::cpp_binding::Serializer out(script::answers().reply, {});
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
    script::on("posix.sleep", [=, sleeps = std::make_shared<int>(0)] {
      if (++*sleeps == number) {
        script::answers().unslept_seconds = 1;
        std::raise(signal);
      }
    });
  }
  /// The journal's entries that begin with one of these, in order, without what follows a space.
  static std::vector<std::string> steps(std::vector<std::string> const& beginnings) {
    std::vector<std::string> found;
    for (auto const& entry : script::journal()) {
      for (auto const& beginning : beginnings) {
        if (entry.rfind(beginning, 0) == 0) {
          found.push_back(beginning);
        }
      }
    }
    return found;
  }
  template <typename... Pieces>
  static std::string data(Pieces const&... pieces) {
    return script::log_line("DATA", ara::log::LogLevel::kInfo, pieces...);
  }
  static std::string failure(std::string const& text) {
    return script::error("Exception:", text, "caught - application will terminate");
  }

  std::string const component_gone_ = "com.~Component_singleton()";
  std::string const finished_ = script::debug("Application finished");
};

TEST_F(TheApplication, LogsOnceAPeriodAndOnceMoreWhenASignalEndsIt) {
  EXPECT_EQ(run_application(), 0);

  auto const figures = data("nav", "session(1, 2)", "total(30, 40)", "budget(-10, 20)");
  EXPECT_THAT(steps({"log.InitLogging(FLWT, flashwatch, 6, 5, \"\")", "com.Component_singleton(false, \"\")",
                     "com.FindService", "com.OfferService", "exec.ReportApplicationState(0)", "posix.sleep(60)",
                     "phm.CheckpointReached", "log DATA", script::debug("Shutdown will proceed"),
                     "exec.ReportApplicationState(1)", finished_, "com.StopOfferService", "exec.~ApplicationClient",
                     "com.~Skeleton", "per.~KeyValueStorage", "com.~Proxy", component_gone_}),
              ElementsAre("log.InitLogging(FLWT, flashwatch, 6, 5, \"\")", "com.Component_singleton(false, \"\")",
                          "com.FindService", "com.OfferService", "com.OfferService", "exec.ReportApplicationState(0)",
                          "posix.sleep(60)", "phm.CheckpointReached", "log DATA", "log DATA", "posix.sleep(60)",
                          script::debug("Shutdown will proceed"), "log DATA", "exec.ReportApplicationState(1)",
                          finished_, "com.StopOfferService", "com.StopOfferService", "exec.~ApplicationClient",
                          "com.~Skeleton", "com.~Skeleton", "per.~KeyValueStorage", "com.~Proxy", component_gone_));
  EXPECT_THAT(steps({data("nav", "year limits(20, 50)", "acc limits(20, 50)", "year in use(1)"), figures}).size(), 3U);
  EXPECT_EQ(script::journal().back(), component_gone_);
}

TEST_F(TheApplication, EndsInGoodOrderOnEachHandledSignal) {
  for (int const signal : {SIGABRT, SIGINT}) {
    SetUp();
    at_minute(1, signal);
    EXPECT_EQ(run_application(), 0);
    EXPECT_TRUE(shutdown_requested);
    EXPECT_THAT(script::log(), Contains(finished_));
  }
}

TEST_F(TheApplication, AnswersReadingsWhileItWaits) {
  std::vector<std::uint8_t> report;
  std::vector<std::uint8_t> exceeded;
  script::on("posix.sleep", [&] {
    report = script::request("DataIdentifier_FlashwatchReport", 1);
    exceeded = script::request("DataIdentifier_EMMCBudgetExceedance", 1);
    script::answers().unslept_seconds = 1;
  });
  EXPECT_EQ(run_application(), 0);
  EXPECT_EQ(report, (std::vector<std::uint8_t>{0, 0, 0, 1,  1, 0, 0, 0, 32, 0, 0, 0,  0, 0, 0, 0, 7, 0, 0, 0, 0,
                                               0, 0, 0, 20, 0, 0, 0, 0, 0,  0, 0, 30, 0, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(exceeded, std::vector<std::uint8_t>{1});
}

TEST_F(TheApplication, RunsWithoutPeriodicLoggingAndWithoutDiagnostics) {
  files["/etc/flashwatch.json"] = R"({"pm_instance_id": "pm", "log_period": 0})";
  files.erase("/etc/scid_mapping.json");
  at_minute(31, SIGTERM);
  EXPECT_EQ(run_application(), 0);
  EXPECT_EQ(steps({"posix.sleep(60)"}).size(), 31U);
  EXPECT_THAT(steps({"log DATA", "com.Skeleton", script::debug("Shutdown will proceed")}),
              ElementsAre(script::debug("Shutdown will proceed"), "log DATA", "log DATA"));
}

TEST_F(TheApplication, ReleasesEverythingBeforeItLogsWhyItEnds) {
  struct Case {
    char const* what;
    std::function<void()> given;
    std::string line;
    std::vector<std::string> steps;  ///< of withdrawing, releasing and reporting
  };
  std::string const not_found = "get_KVS_statistics: statistics service \"pm\" was not found before the search ended";
  auto const withdraw = "com.StopOfferService";
  auto const running = "exec.ReportApplicationState(0)";
  for (auto const& c : std::vector<Case>{
           {"no configuration", [] { files.clear(); }, failure("no /etc/flashwatch.json"), {component_gone_}},
           {"no communication",
            [] { script::on("com.Component_singleton", [] { throw std::runtime_error("no address"); }); },
            failure("no address"),
            {}},
           {"something unknown",
            [] { script::on("per.KeyValueStorage", [] { throw 5; }); },
            script::error("Exception: unknown caught - application will terminate"),
            {component_gone_}},
           {"an instance that nobody deployed",
            [] { script::on("com.OfferService", [] { throw tarn::com::Invalid_argument_exception("own"); }); },
            failure("own"),
            {withdraw, withdraw, component_gone_}},
           {"a statistics service that fails at the end",
            [] {
              script::on("com.send", [sends = std::make_shared<int>(0)] {
                if (++*sends == 2) {
                  throw tarn::com::Transport_exception(1, "cut off");
                }
              });
            },
            failure("cut off"),
            {running, withdraw, withdraw, component_gone_}},
           {"a stop during the search",
            [] {
              script::answers().offered.clear();
              at_minute(1, SIGTERM);
            },
            failure(not_found),
            {running, withdraw, withdraw, component_gone_}},
       }) {
    SCOPED_TRACE(c.what);
    SetUp();
    c.given();
    EXPECT_EQ(run_application(), 1);
    EXPECT_EQ(script::journal().back(), c.line);
    EXPECT_EQ(steps({"exec.ReportApplicationState(0)", "exec.ReportApplicationState(1)", withdraw, component_gone_,
                     finished_}),
              c.steps);
  }
}

}  // namespace
}  // namespace orvel::flashwatch
