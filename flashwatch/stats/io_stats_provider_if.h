// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_STATS_IO_STATS_PROVIDER_IF_H
#define FLASHWATCH_STATS_IO_STATS_PROVIDER_IF_H

#include <map>
#include <string>

#include "orvel/persistency/kvs_io_stat.h"

namespace orvel::flashwatch {

class Io_stats_provider_if {
 public:
  virtual ~Io_stats_provider_if() = default;
  Io_stats_provider_if(Io_stats_provider_if const&) = delete;
  Io_stats_provider_if& operator=(Io_stats_provider_if const&) = delete;

  /// Every application's counters and yearly budget, by application id, fetched now. May be called from any thread;
  /// blocks until the answer is there. tarn::com::Transport_exception or tarn::com::Service_not_available_exception
  /// when there is none.
  virtual std::map<std::string, persistency::KVS_io_stat> get_KVS_statistics() const = 0;

 protected:
  Io_stats_provider_if() = default;
};

}  // namespace orvel::flashwatch

#endif
