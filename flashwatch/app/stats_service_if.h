// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_STATS_SERVICE_IF_H
#define FLASHWATCH_APP_STATS_SERVICE_IF_H

namespace orvel::flashwatch::diagnostics {

/// The whole service. init(), run() and shutdown() are called once each, in this order, from the main thread; each
/// throws what its elements throw.
class Stats_service_if {
 public:
  virtual ~Stats_service_if() = default;
  Stats_service_if(Stats_service_if const&) = delete;
  Stats_service_if& operator=(Stats_service_if const&) = delete;

  /// Blocks until the statistics service is found or a stop is requested, then offers the diagnostic services.
  virtual void init() = 0;
  /// Logs the statistics once a period until a stop is requested.
  virtual void run() = 0;
  /// Logs the statistics once more.
  virtual void shutdown() = 0;

 protected:
  Stats_service_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
