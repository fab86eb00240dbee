// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_STATS_IO_STATS_EXTRACTION_H
#define FLASHWATCH_STATS_IO_STATS_EXTRACTION_H

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "flashwatch/stats/io_stats_extraction_if.h"
#include "orvel/persistency/proxy/statistics_proxy.h"

namespace orvel::flashwatch {

/// The client of the persistency statistics service. Has no proxy until init_proxy() has found the service, and keeps
/// that one for good.
class Io_stats_extraction final : public Io_stats_extraction_if {
 public:
  /// Contacts nothing. `stop` outlives the object and is only read.
  Io_stats_extraction(std::string const& instance_id, std::atomic<bool> const& stop);

  /// One call at a time: callers queue while one waits for its answer, which the communication ends at the latest with
  /// its response time limit.
  std::map<std::string, persistency::KVS_io_stat> get_KVS_statistics() const override;

  /// Searches once a second.
  void init_proxy() override;

 private:
  std::string instance_id_;
  std::unique_ptr<persistency::proxy::statisticsProxy> proxy_;
  std::atomic<bool> const& stop_;
  mutable std::mutex mutex_;
};

}  // namespace orvel::flashwatch

#endif
