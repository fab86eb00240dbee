// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/app/stats_service_builder.h"

#include <system_error>
#include <utility>

#include "ara/log/logging.h"
#include "flashwatch/app/handled_signals.h"
#include "flashwatch/app/stats_service.h"

namespace orvel::flashwatch::diagnostics {
namespace {

constexpr char const* scid_mapping_path = "/etc/scid_mapping.json";

}  // namespace

Stats_service_builder::Stats_service_builder(Config_reader_if& config, Signal_handler_if& signal_handler,
                                             Stats_service_elems_factory_if const& factory)
    : config_(config), signal_handler_(signal_handler), factory_(factory) {}

std::unique_ptr<Stats_service_if> Stats_service_builder::build(std::atomic<bool> const& stop) const {
  // Each element exists before the next is made.
  auto const conf = create_periodic_logging_conf();
  auto const client = create_io_stats_extraction(stop);
  Logger const logger = factory_.create_stats_logger();
  Scid_converter const scid_converter = factory_.create_application_scid_converter(scid_mapping_path);
  Supervision const supervision = factory_.create_stats_annual_supervision(client);
  auto periodic_stats = create_periodic_stats(*conf, supervision, logger);
  auto non_periodic_stats = factory_.create_non_periodic_stats(supervision, logger);
  auto retry_policy = create_retry_policy(*conf, stop);
  auto stats_skeleton = create_stats_skeleton(supervision, logger, scid_converter);
  auto state_reporter = factory_.create_application_state_reporter();
  return std::make_unique<Stats_service>(client, std::move(periodic_stats), std::move(non_periodic_stats),
                                         std::move(retry_policy), std::move(stats_skeleton), std::move(state_reporter));
}

std::unique_ptr<Periodic_logging_conf_if> Stats_service_builder::create_periodic_logging_conf() const {
  return factory_.create_periodic_logging_conf(config_.get_log_period());
}

std::shared_ptr<Io_stats_extraction_if> Stats_service_builder::create_io_stats_extraction(
    std::atomic<bool> const& stop) const {
  return factory_.create_io_stats_extraction(config_.get_pm_instance_id(), stop);
}

std::unique_ptr<Periodic_stats_if> Stats_service_builder::create_periodic_stats(Periodic_logging_conf_if const& conf,
                                                                                Supervision const& supervision,
                                                                                Logger const& logger) const {
  return conf.is_enabled() ? factory_.create_periodic_stats(supervision, logger)
                           : factory_.create_empty_periodic_stats();
}

std::unique_ptr<Retry_policy_if> Stats_service_builder::create_retry_policy(Periodic_logging_conf_if const& conf,
                                                                            std::atomic<bool> const& stop) const {
  auto const period = conf.get_period();
  try {
    signal_handler_.register_signals(handled_signals);
    return factory_.create_sleep_alive_supervised_interrupt_policy(period, stop);
  } catch (std::system_error const& error) {
    ara::log::LogDebug() << "Signal handler could not be registered:" << error.what() << "caught";
  }
  return factory_.create_sleep_alive_supervised_policy(period);
}

std::unique_ptr<Stats_skeleton_if> Stats_service_builder::create_stats_skeleton(
    Supervision const& supervision, Logger const& logger, Scid_converter const& scid_converter) const {
  auto const own_instance_id = config_.get_own_instance_id();
  if (own_instance_id) {
    return factory_.create_stats_skeleton(supervision, logger, scid_converter, *own_instance_id);
  }
  ara::log::LogWarn() << "Diagnostics interface will not be activated - own instance id is empty";
  return factory_.create_empty_stats_skeleton();
}

}  // namespace orvel::flashwatch::diagnostics
