// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/app/stats_service_elems_factory.h"

#include <utility>

#include "flashwatch/app/application_state_reporter.h"
#include "flashwatch/app/empty_periodic_stats.h"
#include "flashwatch/app/empty_stats_skeleton.h"
#include "flashwatch/app/time_wrapper.h"
#include "flashwatch/config/application_scid_converter.h"
#include "flashwatch/config/file_reader.h"
#include "flashwatch/config/periodic_logging_conf.h"
#include "flashwatch/diag/stats_skeletons_wrapper.h"
#include "flashwatch/reporting/non_periodic_stats.h"
#include "flashwatch/reporting/periodic_stats.h"
#include "flashwatch/reporting/stats_logger.h"
#include "flashwatch/stats/io_stats_extraction.h"
#include "flashwatch/stats/persistent_storage.h"
#include "flashwatch/stats/stats_annual_supervision.h"
#include "flashwatch/supervision/retry_policies.h"

namespace orvel::flashwatch::diagnostics {

using Factory = Stats_service_elems_factory;

std::unique_ptr<Io_stats_extraction_if> Factory::create_io_stats_extraction(std::string const& pm_instance_id,
                                                                            std::atomic<bool> const& stop) const {
  return std::make_unique<Io_stats_extraction>(pm_instance_id, stop);
}

std::unique_ptr<Stats_annual_supervision_if> Factory::create_stats_annual_supervision(
    std::shared_ptr<Io_stats_provider_if> const& provider) const {
  auto storage = std::make_unique<Persistent_storage>();
  auto time = std::make_unique<Time_wrapper>();
  return std::make_unique<Stats_annual_supervision>(provider, std::move(storage), std::move(time));
}

std::unique_ptr<Periodic_stats_if> Factory::create_periodic_stats(
    std::shared_ptr<Stats_annual_supervision_if> const& supervision,
    std::shared_ptr<Stats_logger_if> const& logger) const {
  return std::make_unique<Periodic_stats>(supervision, logger);
}

std::unique_ptr<Periodic_stats_if> Factory::create_empty_periodic_stats() const {
  return std::make_unique<Empty_periodic_stats>();
}

std::unique_ptr<Non_periodic_stats_if> Factory::create_non_periodic_stats(
    std::shared_ptr<Stats_annual_supervision_if> const& supervision,
    std::shared_ptr<Stats_logger_if> const& logger) const {
  return std::make_unique<Non_periodic_stats>(supervision, logger);
}

std::unique_ptr<Retry_policy_if> Factory::create_sleep_interrupt_policy(std::chrono::seconds wait,
                                                                        std::atomic<bool> const& stop) const {
  return make_sleep_interrupt_policy(wait, stop);
}

std::unique_ptr<Retry_policy_if> Factory::create_sleep_alive_supervised_interrupt_policy(
    std::chrono::minutes period, std::atomic<bool> const& stop) const {
  return make_sleep_alive_supervised_interrupt_policy(period, stop);
}

std::unique_ptr<Retry_policy_if> Factory::create_sleep_alive_supervised_policy(std::chrono::minutes period) const {
  return make_sleep_alive_supervised_policy(period);
}

std::unique_ptr<Application_scid_converter_if> Factory::create_application_scid_converter(
    std::string const& path) const {
  auto file_reader = std::make_unique<File_reader>();
  return std::make_unique<Application_scid_converter>(path, std::move(file_reader));
}

std::unique_ptr<Stats_skeleton_if> Factory::create_stats_skeleton(
    std::shared_ptr<Stats_annual_supervision_if> const& supervision, std::shared_ptr<Stats_logger_if> const& logger,
    std::shared_ptr<Application_scid_converter_if> const& scid_converter, std::string const& own_instance_id) const {
  return std::make_unique<Stats_skeletons_wrapper>(supervision, logger, scid_converter, own_instance_id);
}

std::unique_ptr<Stats_skeleton_if> Factory::create_empty_stats_skeleton() const {
  return std::make_unique<Empty_stats_skeleton>();
}

std::unique_ptr<Periodic_logging_conf_if> Factory::create_periodic_logging_conf(
    boost::optional<std::chrono::minutes> const& log_period) const {
  return std::make_unique<Periodic_logging_conf>(log_period);
}

std::unique_ptr<Stats_logger_if> Factory::create_stats_logger() const { return std::make_unique<Stats_logger>(); }

std::unique_ptr<Application_state_reporter_if> Factory::create_application_state_reporter() const {
  return std::make_unique<Application_state_reporter>();
}

}  // namespace orvel::flashwatch::diagnostics
