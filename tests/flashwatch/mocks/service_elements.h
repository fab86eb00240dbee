// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_FLASHWATCH_MOCKS_SERVICE_ELEMENTS_H
#define TESTS_FLASHWATCH_MOCKS_SERVICE_ELEMENTS_H

#include "flashwatch/app/signal_handler_if.h"
#include "flashwatch/app/stats_service_elems_factory_if.h"
#include "flashwatch/config/config_reader_if.h"
#include "tests/flashwatch/mocks/neighbours.h"
#include "tests/scripted_platform/script.h"

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
  using Supervision = std::shared_ptr<Stats_annual_supervision_if>;
  using Logger = std::shared_ptr<Stats_logger_if>;
  using Converter = std::shared_ptr<Application_scid_converter_if>;
  using Stop = std::atomic<bool>;
  template <typename Interface>
  using Owned = std::unique_ptr<Interface>;
#define MAKES(Interface, name, arguments) MOCK_METHOD(Owned<Interface>, name, arguments, (const, override))
  MAKES(Io_stats_extraction_if, create_io_stats_extraction, (std::string const&, Stop const&));
  MAKES(Stats_annual_supervision_if, create_stats_annual_supervision, (std::shared_ptr<Io_stats_provider_if> const&));
  MAKES(Periodic_stats_if, create_periodic_stats, (Supervision const&, Logger const&));
  MAKES(Periodic_stats_if, create_empty_periodic_stats, ());
  MAKES(Non_periodic_stats_if, create_non_periodic_stats, (Supervision const&, Logger const&));
  MAKES(Retry_policy_if, create_sleep_interrupt_policy, (std::chrono::seconds, Stop const&));
  MAKES(Retry_policy_if, create_sleep_alive_supervised_interrupt_policy, (std::chrono::minutes, Stop const&));
  MAKES(Retry_policy_if, create_sleep_alive_supervised_policy, (std::chrono::minutes));
  MAKES(Application_scid_converter_if, create_application_scid_converter, (std::string const&));
  MAKES(Stats_skeleton_if, create_stats_skeleton,
        (Supervision const&, Logger const&, Converter const&, std::string const&));
  MAKES(Stats_skeleton_if, create_empty_stats_skeleton, ());
  MAKES(Periodic_logging_conf_if, create_periodic_logging_conf, (boost::optional<std::chrono::minutes> const&));
  MAKES(Stats_logger_if, create_stats_logger, ());
  MAKES(Application_state_reporter_if, create_application_state_reporter, ());
#undef MAKES
};

/// An action that makes an element of that type.
template <typename Element, typename... Arguments>
auto made(Arguments... arguments) {
  return [arguments...](auto const&...) { return std::make_unique<Element>(arguments...); };
}

// Elements that only note what is done with them.

struct Periodic_logging_conf_fake : Periodic_logging_conf_if {
  explicit Periodic_logging_conf_fake(bool enabled) : enabled_(enabled) {}
  bool is_enabled() const override { return enabled_; }
  std::chrono::minutes get_period() const override { return std::chrono::minutes(30); }
  bool enabled_;
};

struct Io_stats_extraction_fake : Io_stats_extraction_if {
  ~Io_stats_extraction_fake() override { script::note("~proxy_initializer"); }
  std::map<std::string, persistency::KVS_io_stat> get_KVS_statistics() const override { return {}; }
  void init_proxy() override { script::note("init_proxy"); }
};

struct Periodic_stats_fake : Periodic_stats_if {
  ~Periodic_stats_fake() override { script::note("~periodic_stats"); }
  void log_stats() override { script::note("log_stats"); }
};

struct Non_periodic_stats_fake : Non_periodic_stats_if {
  ~Non_periodic_stats_fake() override { script::note("~non_periodic_stats"); }
  void on_shutdown() override { script::note("on_shutdown"); }
};

/// Goes on twice.
struct Retry_policy_fake : Retry_policy_if {
  ~Retry_policy_fake() override { script::note("~retry_policy"); }
  bool retry() const override {
    script::note("retry " + std::to_string(++calls_));
    return calls_ < 3;
  }
  mutable int calls_ = 0;
};

struct Stats_skeleton_fake : Stats_skeleton_if {
  ~Stats_skeleton_fake() override { script::note("~stats_skeleton"); }
  void offer_services() override { script::note("offer_services"); }
  void stop_offer_services() override { script::note("stop_offer_services"); }
};

struct State_reporter_fake : Application_state_reporter_if {
  ~State_reporter_fake() override { script::note("~state_reporter"); }
  void report_running() override { script::note("report_running"); }
  void report_terminating() override { script::note("report_terminating"); }
};

}  // namespace orvel::flashwatch::diagnostics

#endif
