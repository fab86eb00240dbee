// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_STATS_SERVICE_ELEMS_FACTORY_IF_H
#define FLASHWATCH_APP_STATS_SERVICE_ELEMS_FACTORY_IF_H

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

#include <boost/optional.hpp>

#include "flashwatch/app/application_state_reporter_if.h"
#include "flashwatch/config/application_scid_converter_if.h"
#include "flashwatch/config/periodic_logging_conf_if.h"
#include "flashwatch/diag/stats_skeleton_if.h"
#include "flashwatch/reporting/non_periodic_stats_if.h"
#include "flashwatch/reporting/periodic_stats_if.h"
#include "flashwatch/reporting/stats_logger_if.h"
#include "flashwatch/stats/io_stats_extraction_if.h"
#include "flashwatch/stats/stats_annual_supervision_if.h"
#include "flashwatch/supervision/retry_policy_if.h"

namespace orvel::flashwatch::diagnostics {

/// Makes the elements of the service and decides nothing. Each operation throws what the element's constructor throws.
/// A stop flag outlives the element that gets it.
class Stats_service_elems_factory_if {
 public:
  virtual ~Stats_service_elems_factory_if() = default;
  Stats_service_elems_factory_if(Stats_service_elems_factory_if const&) = delete;
  Stats_service_elems_factory_if& operator=(Stats_service_elems_factory_if const&) = delete;

  virtual std::unique_ptr<Io_stats_extraction_if> create_io_stats_extraction(std::string const& pm_instance_id,
                                                                             std::atomic<bool> const& stop) const = 0;
  virtual std::unique_ptr<Stats_annual_supervision_if> create_stats_annual_supervision(
      std::shared_ptr<Io_stats_provider_if> const& provider) const = 0;
  virtual std::unique_ptr<Periodic_stats_if> create_periodic_stats(
      std::shared_ptr<Stats_annual_supervision_if> const& supervision,
      std::shared_ptr<Stats_logger_if> const& logger) const = 0;
  virtual std::unique_ptr<Periodic_stats_if> create_empty_periodic_stats() const = 0;
  virtual std::unique_ptr<Non_periodic_stats_if> create_non_periodic_stats(
      std::shared_ptr<Stats_annual_supervision_if> const& supervision,
      std::shared_ptr<Stats_logger_if> const& logger) const = 0;
  virtual std::unique_ptr<Retry_policy_if> create_sleep_interrupt_policy(std::chrono::seconds wait,
                                                                         std::atomic<bool> const& stop) const = 0;
  virtual std::unique_ptr<Retry_policy_if> create_sleep_alive_supervised_interrupt_policy(
      std::chrono::minutes period, std::atomic<bool> const& stop) const = 0;
  virtual std::unique_ptr<Retry_policy_if> create_sleep_alive_supervised_policy(std::chrono::minutes period) const = 0;
  virtual std::unique_ptr<Application_scid_converter_if> create_application_scid_converter(
      std::string const& path) const = 0;
  virtual std::unique_ptr<Stats_skeleton_if> create_stats_skeleton(
      std::shared_ptr<Stats_annual_supervision_if> const& supervision, std::shared_ptr<Stats_logger_if> const& logger,
      std::shared_ptr<Application_scid_converter_if> const& scid_converter,
      std::string const& own_instance_id) const = 0;
  virtual std::unique_ptr<Stats_skeleton_if> create_empty_stats_skeleton() const = 0;
  virtual std::unique_ptr<Periodic_logging_conf_if> create_periodic_logging_conf(
      boost::optional<std::chrono::minutes> const& log_period) const = 0;
  virtual std::unique_ptr<Stats_logger_if> create_stats_logger() const = 0;
  virtual std::unique_ptr<Application_state_reporter_if> create_application_state_reporter() const = 0;

 protected:
  Stats_service_elems_factory_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
