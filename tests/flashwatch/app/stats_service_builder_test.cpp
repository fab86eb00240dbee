// SPDX-License-Identifier: Apache-2.0
// Which elements are made, in which order, from which settings; and how the service drives and releases them.
#include "flashwatch/app/stats_service_builder.h"

#include <csignal>
#include <system_error>

#include "flashwatch/app/application_state_reporter.h"
#include "flashwatch/app/run_service.h"
#include "flashwatch/app/signal_handler.h"
#include "tests/flashwatch/mocks/service_elements.h"
#include "tests/scripted_platform/script.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::NiceMock;
using ::testing::Ref;
using ::testing::Return;
using ::testing::StrictMock;
using ::testing::Throw;
using Minutes = std::chrono::minutes;

struct AServiceBuilder : ::testing::Test {
  void SetUp() override { script::reset(); }

  /// Expects the eleven steps in their order.
  void expect_steps(bool periodic, bool diagnostics, std::function<void()> const& expect_policy) {
    InSequence const in_order;
    EXPECT_CALL(config_, get_log_period).WillOnce(Return(boost::make_optional(Minutes(7))));
    EXPECT_CALL(factory_, create_periodic_logging_conf(boost::make_optional(Minutes(7))))
        .WillOnce(made<Periodic_logging_conf_fake>(periodic));
    EXPECT_CALL(config_, get_pm_instance_id).WillOnce(Return("pm"));
    EXPECT_CALL(factory_, create_io_stats_extraction("pm", Ref(stop_))).WillOnce(made<Io_stats_extraction_fake>());
    EXPECT_CALL(factory_, create_stats_logger).WillOnce(made<Stats_logger_mock>());
    EXPECT_CALL(factory_, create_application_scid_converter("/etc/scid_mapping.json"))
        .WillOnce(made<Application_scid_converter_mock>());
    EXPECT_CALL(factory_, create_stats_annual_supervision).WillOnce(made<Stats_annual_supervision_mock>());
    if (periodic) {
      EXPECT_CALL(factory_, create_periodic_stats).WillOnce(made<Periodic_stats_fake>());
    } else {
      EXPECT_CALL(factory_, create_empty_periodic_stats).WillOnce(made<Periodic_stats_fake>());
    }
    EXPECT_CALL(factory_, create_non_periodic_stats).WillOnce(made<Non_periodic_stats_fake>());
    expect_policy();
    EXPECT_CALL(config_, get_own_instance_id)
        .WillOnce(Return(diagnostics ? boost::make_optional(std::string("own")) : boost::none));
    if (diagnostics) {
      EXPECT_CALL(factory_, create_stats_skeleton(_, _, _, "own")).WillOnce(made<Stats_skeleton_fake>());
    } else {
      EXPECT_CALL(factory_, create_empty_stats_skeleton).WillOnce(made<Stats_skeleton_fake>());
    }
    EXPECT_CALL(factory_, create_application_state_reporter).WillOnce(made<State_reporter_fake>());
  }
  void expect_registration() {
    EXPECT_CALL(signals_, register_signals(ElementsAre(SIGTERM, SIGABRT, SIGINT)));
    EXPECT_CALL(factory_, create_sleep_alive_supervised_interrupt_policy(Minutes(30), Ref(stop_)))
        .WillOnce(made<Retry_policy_fake>());
  }
  void expect_uninterruptible_policy() {
    EXPECT_CALL(factory_, create_sleep_alive_supervised_policy(Minutes(30))).WillOnce(made<Retry_policy_fake>());
  }
  std::unique_ptr<Stats_service_if> build() { return Stats_service_builder(config_, signals_, factory_).build(stop_); }

  std::atomic<bool> stop_{false};
  StrictMock<Config_reader_mock> config_;
  StrictMock<Signal_handler_mock> signals_;
  StrictMock<Factory_mock> factory_;
};

TEST_F(AServiceBuilder, MakesEverythingInOrder) {
  expect_steps(true, true, [this] { expect_registration(); });
  build();
  EXPECT_THAT(script::log(), ElementsAre());
}

TEST_F(AServiceBuilder, PutsEmptyVariantsForWhatIsSwitchedOff) {
  expect_steps(false, false, [this] { expect_registration(); });
  build();
  EXPECT_THAT(script::log(),
              ElementsAre(script::warning("Diagnostics interface will not be activated - own instance id is empty")));
}

TEST_F(AServiceBuilder, FallsBackToAPolicyThatCannotBeInterrupted) {
  std::system_error const error(0, std::system_category(), "std::signal failed for sig 6");
  auto const line = script::debug("Signal handler could not be registered:", error.what(), "caught");
  expect_steps(true, true, [&] {
    EXPECT_CALL(signals_, register_signals).WillOnce(Throw(error));
    expect_uninterruptible_policy();
  });
  build();
  EXPECT_THAT(script::log(), ElementsAre(line));

  expect_steps(true, true, [&] {
    EXPECT_CALL(signals_, register_signals);
    EXPECT_CALL(factory_, create_sleep_alive_supervised_interrupt_policy).WillOnce(Throw(error));
    expect_uninterruptible_policy();
  });
  build();
  EXPECT_THAT(script::log(), ElementsAre(line, line));
}

TEST_F(AServiceBuilder, PassesOnEveryOtherFailureAndRegistersNothingThen) {
  EXPECT_CALL(config_, get_log_period).WillOnce(Return(boost::none));
  EXPECT_CALL(factory_, create_periodic_logging_conf).WillOnce(made<Periodic_logging_conf_fake>(true));
  EXPECT_CALL(config_, get_pm_instance_id).WillOnce(Return("pm"));
  EXPECT_CALL(factory_, create_io_stats_extraction).WillOnce(made<Io_stats_extraction_fake>());
  EXPECT_CALL(factory_, create_stats_logger).WillOnce(Throw(std::runtime_error("no log")));
  EXPECT_THROW(build(), std::runtime_error);
}

TEST_F(AServiceBuilder, MakesAServiceThatDrivesAndReleasesItsElementsInOrder) {
  expect_steps(true, true, [this] { expect_registration(); });
  {
    auto const service = build();
    script::reset();
    run_service(*service);
  }
  EXPECT_THAT(script::journal(),
              ElementsAre("init_proxy", "offer_services", "report_running", "retry 1", "log_stats", "retry 2",
                          "log_stats", "retry 3", script::debug("Shutdown will proceed"), "on_shutdown",
                          "report_terminating", "stop_offer_services", "~state_reporter", "~stats_skeleton",
                          "~retry_policy", "~non_periodic_stats", "~periodic_stats", "~proxy_initializer"));
}

TEST(AStateReporter, LogsWhatBecameOfAReport) {
  script::reset();
  Application_state_reporter reporter;
  reporter.report_running();
  script::answers().state_report = ara::exec::ApplicationReturnType::kGeneralError;
  reporter.report_terminating();
  auto const label = "Application state:";
  EXPECT_THAT(script::journal(), ElementsAre("exec.ApplicationClient()", "exec.ReportApplicationState(0)",
                                             script::debug(label, std::uint8_t{0}, "reported with success"),
                                             "exec.ReportApplicationState(1)",
                                             script::warning(label, std::uint8_t{1}, "reported with failure")));
}

TEST(ASignalHandler, StopsAtTheFirstSignalThatCannotBeHandled) {
  static int received = 0;
  Signal_handler const handler([](int signal) { received = signal; });
  std::signal(SIGUSR2, SIG_IGN);
  try {
    handler.register_signals({SIGUSR1, SIGKILL, SIGUSR2});
    ADD_FAILURE() << "no exception";
  } catch (std::system_error const& error) {
    EXPECT_EQ(error.code(), std::error_code(0, std::system_category()));
    EXPECT_THAT(error.what(), ::testing::StartsWith("std::signal failed for sig 9"));
  }
  std::raise(SIGUSR2);
  EXPECT_EQ(received, 0);
  std::raise(SIGUSR1);
  EXPECT_EQ(received, SIGUSR1);
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
