// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_STATS_SERVICE_ELEMS_FACTORY_H
#define FLASHWATCH_APP_STATS_SERVICE_ELEMS_FACTORY_H

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

#include <boost/optional.hpp>

#include "flashwatch/app/stats_service_elems_factory_if.h"

namespace orvel::flashwatch::diagnostics {

/// Makes the real elements.
class Stats_service_elems_factory final : public Stats_service_elems_factory_if {
 public:
  std::unique_ptr<Io_stats_extraction_if> create_io_stats_extraction(std::string const& pm_instance_id,
                                                                     std::atomic<bool> const& stop) const override;
  std::unique_ptr<Stats_annual_supervision_if> create_stats_annual_supervision(
      std::shared_ptr<Io_stats_provider_if> const& provider) const override;
  std::unique_ptr<Periodic_stats_if> create_periodic_stats(
      std::shared_ptr<Stats_annual_supervision_if> const& supervision,
      std::shared_ptr<Stats_logger_if> const& logger) const override;
  std::unique_ptr<Periodic_stats_if> create_empty_periodic_stats() const override;
  std::unique_ptr<Non_periodic_stats_if> create_non_periodic_stats(
      std::shared_ptr<Stats_annual_supervision_if> const& supervision,
      std::shared_ptr<Stats_logger_if> const& logger) const override;
  std::unique_ptr<Retry_policy_if> create_sleep_interrupt_policy(std::chrono::seconds wait,
                                                                 std::atomic<bool> const& stop) const override;
  std::unique_ptr<Retry_policy_if> create_sleep_alive_supervised_interrupt_policy(
      std::chrono::minutes period, std::atomic<bool> const& stop) const override;
  std::unique_ptr<Retry_policy_if> create_sleep_alive_supervised_policy(std::chrono::minutes period) const override;
  std::unique_ptr<Application_scid_converter_if> create_application_scid_converter(
      std::string const& path) const override;
  std::unique_ptr<Stats_skeleton_if> create_stats_skeleton(
      std::shared_ptr<Stats_annual_supervision_if> const& supervision, std::shared_ptr<Stats_logger_if> const& logger,
      std::shared_ptr<Application_scid_converter_if> const& scid_converter,
      std::string const& own_instance_id) const override;
  std::unique_ptr<Stats_skeleton_if> create_empty_stats_skeleton() const override;
  std::unique_ptr<Periodic_logging_conf_if> create_periodic_logging_conf(
      boost::optional<std::chrono::minutes> const& log_period) const override;
  std::unique_ptr<Stats_logger_if> create_stats_logger() const override;
  std::unique_ptr<Application_state_reporter_if> create_application_state_reporter() const override;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
