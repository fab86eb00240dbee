// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_STATS_SERVICE_BUILDER_H
#define FLASHWATCH_APP_STATS_SERVICE_BUILDER_H

#include <atomic>
#include <memory>

#include "flashwatch/app/signal_handler_if.h"
#include "flashwatch/app/stats_service_elems_factory_if.h"
#include "flashwatch/app/stats_service_if.h"
#include "flashwatch/config/config_reader_if.h"

namespace orvel::flashwatch::diagnostics {

/// Puts the service together and decides everything that the configuration leaves open: whether statistics are logged
/// periodically, whether the diagnostic services exist, and whether the main loop can be interrupted. Used once;
/// nothing that it is made of is needed afterwards.
class Stats_service_builder {
 public:
  Stats_service_builder(Config_reader_if& config, Signal_handler_if& signal_handler,
                        Stats_service_elems_factory_if const& factory);

  /// Registers the signals on the way. `stop` outlives the service. A registration that fails costs the interruption
  /// of the main loop; any other exception of an element passes through.
  std::unique_ptr<Stats_service_if> build(std::atomic<bool> const& stop) const;

 private:
  using Supervision = std::shared_ptr<Stats_annual_supervision_if>;
  using Logger = std::shared_ptr<Stats_logger_if>;
  using Scid_converter = std::shared_ptr<Application_scid_converter_if>;

  std::unique_ptr<Periodic_logging_conf_if> create_periodic_logging_conf() const;
  std::shared_ptr<Io_stats_extraction_if> create_io_stats_extraction(std::atomic<bool> const& stop) const;
  std::unique_ptr<Periodic_stats_if> create_periodic_stats(Periodic_logging_conf_if const& conf,
                                                           Supervision const& supervision, Logger const& logger) const;
  std::unique_ptr<Retry_policy_if> create_retry_policy(Periodic_logging_conf_if const& conf,
                                                       std::atomic<bool> const& stop) const;
  std::unique_ptr<Stats_skeleton_if> create_stats_skeleton(Supervision const& supervision, Logger const& logger,
                                                           Scid_converter const& scid_converter) const;

  Config_reader_if& config_;
  Signal_handler_if& signal_handler_;
  Stats_service_elems_factory_if const& factory_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
