// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_REPORTING_PERIODIC_STATS_IF_H
#define FLASHWATCH_REPORTING_PERIODIC_STATS_IF_H

namespace orvel::flashwatch::diagnostics {

/// Logs the statistics once in each cycle of the main loop. Called from the main thread.
class Periodic_stats_if {
 public:
  virtual ~Periodic_stats_if() = default;
  Periodic_stats_if(Periodic_stats_if const&) = delete;
  Periodic_stats_if& operator=(Periodic_stats_if const&) = delete;

  /// A failing statistics service costs this cycle's lines and nothing else.
  virtual void log_stats() = 0;

 protected:
  Periodic_stats_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
