// SPDX-License-Identifier: Apache-2.0
// Which elements are made, in which order, from which settings; and the service's two adapters to the system.
#include "flashwatch/app/stats_service_builder.h"

#include <csignal>
#include <system_error>

#include "flashwatch/app/application_state_reporter.h"
#include "flashwatch/app/signal_handler.h"
#include "tests/flashwatch/mocks/service_elements.h"
#include "tests/flashwatch/room_test.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using Minutes = std::chrono::minutes;
enum class Signals { registered, refused, policy_refused };

struct AServiceBuilder : Room_test {
  /// Expects the steps in their order. The service is not run, so elements that it does not touch may be missing.
  void expect_steps(bool periodic, Signals signals, bool diagnostics) {
    InSequence const in_order;
    EXPECT_CALL(config_, get_log_period).WillOnce(Return(boost::make_optional(Minutes(7))));
    EXPECT_CALL(factory_, create_periodic_logging_conf(boost::make_optional(Minutes(7)))).WillOnce([=](auto const&) {
      return std::make_unique<Periodic_logging_conf_fake>(periodic);
    });
    EXPECT_CALL(config_, get_pm_instance_id).WillOnce(Return("pm"));
    EXPECT_CALL(factory_, create_io_stats_extraction("pm", Ref(stop_)));
    EXPECT_CALL(factory_, create_stats_logger);
    EXPECT_CALL(factory_, create_application_scid_converter("/etc/scid_mapping.json"));
    EXPECT_CALL(factory_, create_stats_annual_supervision);
    EXPECT_CALL(factory_, create_periodic_stats).Times(periodic ? 1 : 0);
    EXPECT_CALL(factory_, create_empty_periodic_stats).Times(periodic ? 0 : 1);
    EXPECT_CALL(factory_, create_non_periodic_stats);
    auto& registration = EXPECT_CALL(signals_, register_signals(ElementsAre(SIGTERM, SIGABRT, SIGINT)));
    if (signals == Signals::refused) {
      registration.WillOnce(Throw(error_));
    } else {
      auto& policy = EXPECT_CALL(factory_, create_sleep_alive_supervised_interrupt_policy(Minutes(30), Ref(stop_)));
      signals == Signals::policy_refused ? policy.WillOnce(Throw(error_)) : policy;
    }
    EXPECT_CALL(factory_, create_sleep_alive_supervised_policy(Minutes(30)))
        .Times(signals == Signals::registered ? 0 : 1);
    EXPECT_CALL(config_, get_own_instance_id)
        .WillOnce(Return(diagnostics ? boost::make_optional(std::string("own")) : boost::none));
    auto const skeleton = [](auto const&...) { return std::make_unique<Stats_skeleton_fake>(); };
    if (diagnostics) {
      EXPECT_CALL(factory_, create_stats_skeleton(_, _, _, "own")).WillOnce(skeleton);
    } else {
      EXPECT_CALL(factory_, create_empty_stats_skeleton).WillOnce(skeleton);
    }
    EXPECT_CALL(factory_, create_application_state_reporter);
  }

  std::system_error const error_{0, std::system_category(), "std::signal failed for sig 6"};
  std::atomic<bool> stop_{false};
  StrictMock<Config_reader_mock> config_;
  StrictMock<Signal_handler_mock> signals_;
  StrictMock<Factory_mock> factory_;
};

TEST_F(AServiceBuilder, MakesTheElementsThatTheSettingsAskForInOrder) {
  auto const refused = debug("Signal handler could not be registered:", error_.what(), "caught");
  auto const silent = warning("Diagnostics interface will not be activated - own instance id is empty");
  for (auto const& [periodic, signals, diagnostics, lines] :
       std::vector<std::tuple<bool, Signals, bool, std::vector<std::string>>>{
           {true, Signals::registered, true, {}},
           {false, Signals::registered, false, {silent}},
           {true, Signals::refused, true, {refused}},
           {true, Signals::policy_refused, false, {refused, silent}}}) {
    script::reset();
    expect_steps(periodic, signals, diagnostics);
    Stats_service_builder(config_, signals_, factory_).build(stop_);
    EXPECT_EQ(script::log(), lines);
    Mock::VerifyAndClearExpectations(&factory_);
  }
}

TEST_F(AServiceBuilder, PassesOnEveryOtherFailureAndRegistersNothingThen) {
  EXPECT_CALL(config_, get_log_period).WillOnce(Return(boost::none));
  EXPECT_CALL(factory_, create_periodic_logging_conf);
  EXPECT_CALL(config_, get_pm_instance_id).WillOnce(Throw(std::range_error("odd")));
  EXPECT_THROW(Stats_service_builder(config_, signals_, factory_).build(stop_), std::range_error);
}

struct AnAdapter : Room_test {};

TEST_F(AnAdapter, OfExecutionManagementLogsWhatBecameOfAReport) {
  Application_state_reporter reporter;
  reporter.report_running();
  answers().state_report = ara::exec::ApplicationReturnType::kGeneralError;
  reporter.report_terminating();
  EXPECT_THAT(journal(),
              ElementsAre("exec.ApplicationClient()", "exec.ReportApplicationState(0)",
                          debug("Application state:", U8{0}, "reported with success"), "exec.ReportApplicationState(1)",
                          warning("Application state:", U8{1}, "reported with failure")));
}

TEST_F(AnAdapter, OfSignalsStopsAtTheFirstThatCannotBeHandled) {
  static int received = 0;
  Signal_handler const handler([](int signal) { received = signal; });
  std::signal(SIGUSR2, SIG_IGN);
  EXPECT_THAT(
      [&] {
        handler.register_signals({SIGUSR1, SIGKILL, SIGUSR2});
      },
      Throws<std::system_error>(AllOf(Property(&std::system_error::code, std::error_code(0, std::system_category())),
                                      Property(&std::system_error::what, StartsWith("std::signal failed for sig 9")))));
  std::raise(SIGUSR2);
  EXPECT_EQ(received, 0);
  std::raise(SIGUSR1);
  EXPECT_EQ(received, SIGUSR1);
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
