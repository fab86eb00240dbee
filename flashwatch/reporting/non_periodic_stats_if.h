// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_REPORTING_NON_PERIODIC_STATS_IF_H
#define FLASHWATCH_REPORTING_NON_PERIODIC_STATS_IF_H

namespace orvel::flashwatch::diagnostics {

/// Logs the statistics once more when the service ends. Called from the main thread.
class Non_periodic_stats_if {
 public:
  virtual ~Non_periodic_stats_if() = default;
  Non_periodic_stats_if(Non_periodic_stats_if const&) = delete;
  Non_periodic_stats_if& operator=(Non_periodic_stats_if const&) = delete;

  /// Throws what the readout of the statistics throws.
  virtual void on_shutdown() = 0;

 protected:
  Non_periodic_stats_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
