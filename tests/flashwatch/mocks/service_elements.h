// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_FLASHWATCH_MOCKS_SERVICE_ELEMENTS_H
#define TESTS_FLASHWATCH_MOCKS_SERVICE_ELEMENTS_H

#include <gmock/gmock.h>

#include "flashwatch/app/signal_handler_if.h"
#include "flashwatch/app/stats_service_elems_factory_if.h"
#include "flashwatch/config/config_reader_if.h"

namespace boost {

inline void PrintTo(optional<std::chrono::minutes> const& period, std::ostream* out) {
  *out << (period ? std::to_string(period->count()) + " min" : "none");
}
inline void PrintTo(optional<std::string> const& text, std::ostream* out) { *out << text.value_or("none"); }

}  // namespace boost

namespace orvel::flashwatch::diagnostics {

struct Config_reader_mock : Config_reader_if {
  MOCK_METHOD(boost::optional<std::chrono::minutes>, get_log_period, (), (const, override));
  MOCK_METHOD(std::string, get_pm_instance_id, (), (const, override));
  MOCK_METHOD(boost::optional<std::string>, get_own_instance_id, (), (const, override));
};

struct Signal_handler_mock : Signal_handler_if {
  MOCK_METHOD(void, register_signals, (std::initializer_list<int const> const&), (const, override));
};

struct Factory_mock : Stats_service_elems_factory_if {
  using Supervision = std::shared_ptr<Stats_annual_supervision_if> const&;
  using Logger = std::shared_ptr<Stats_logger_if> const&;
  using Converter = std::shared_ptr<Application_scid_converter_if> const&;
  using Stop = std::atomic<bool> const&;
  using Minutes = std::chrono::minutes;
#define MAKES(Interface, name, arguments) MOCK_METHOD(std::unique_ptr<Interface>, name, arguments, (const, override))
  MAKES(Io_stats_extraction_if, create_io_stats_extraction, (std::string const&, Stop));
  MAKES(Stats_annual_supervision_if, create_stats_annual_supervision, (std::shared_ptr<Io_stats_provider_if> const&));
  MAKES(Periodic_stats_if, create_periodic_stats, (Supervision, Logger));
  MAKES(Periodic_stats_if, create_empty_periodic_stats, ());
  MAKES(Non_periodic_stats_if, create_non_periodic_stats, (Supervision, Logger));
  MAKES(Retry_policy_if, create_sleep_interrupt_policy, (std::chrono::seconds, Stop));
  MAKES(Retry_policy_if, create_sleep_alive_supervised_interrupt_policy, (Minutes, Stop));
  MAKES(Retry_policy_if, create_sleep_alive_supervised_policy, (Minutes));
  MAKES(Application_scid_converter_if, create_application_scid_converter, (std::string const&));
  MAKES(Stats_skeleton_if, create_stats_skeleton, (Supervision, Logger, Converter, std::string const&));
  MAKES(Stats_skeleton_if, create_empty_stats_skeleton, ());
  MAKES(Periodic_logging_conf_if, create_periodic_logging_conf, (boost::optional<Minutes> const&));
  MAKES(Stats_logger_if, create_stats_logger, ());
  MAKES(Application_state_reporter_if, create_application_state_reporter, ());
#undef MAKES
};

struct Periodic_logging_conf_fake : Periodic_logging_conf_if {
  explicit Periodic_logging_conf_fake(bool enabled) : enabled_(enabled) {}
  bool is_enabled() const override { return enabled_; }
  std::chrono::minutes get_period() const override { return std::chrono::minutes(30); }
  bool enabled_;
};

struct Stats_skeleton_fake : Stats_skeleton_if {
  void offer_services() override {}
  void stop_offer_services() override {}
};

}  // namespace orvel::flashwatch::diagnostics

#endif
