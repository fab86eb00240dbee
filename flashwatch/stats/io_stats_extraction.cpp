// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/stats/io_stats_extraction.h"

#include <chrono>
#include <utility>

#include "ara/log/logging.h"
#include "flashwatch/stats/find_policy.h"
#include "flashwatch/supervision/retry_policies.h"
#include "tarn/com/exceptions.h"

namespace orvel::flashwatch {
namespace {

constexpr std::chrono::seconds search_interval{1};

void log_stat(persistency::KVS_io_stat const& stat) {
  ara::log::LogDebug() << "Received kvs stats for" << stat.application_id << "session_read:" << stat.session_read
                       << "session_write:" << stat.session_write << "session_setvalue:" << stat.session_setvalue
                       << "total_read:" << stat.total_read << "total_write:" << stat.total_write
                       << "total_setvalue:" << stat.total_setvalue;
}

}  // namespace

Io_stats_extraction::Io_stats_extraction(std::string const& instance_id, std::atomic<bool> const& stop)
    : instance_id_(instance_id), stop_(stop) {}

std::map<std::string, persistency::KVS_io_stat> Io_stats_extraction::get_KVS_statistics() const {
  std::lock_guard const lock(mutex_);
  if (proxy_ == nullptr) {
    throw tarn::com::Service_not_available_exception("get_KVS_statistics: statistics service \"" + instance_id_ +
                                                     "\" was not found before the search ended");
  }
  auto output = proxy_->get_KVS_statistics().get();
  for (auto const& [key, stat] : output) {
    log_stat(stat);
  }
  return output;
}

void Io_stats_extraction::init_proxy() {
  Find_policy<persistency::proxy::statisticsProxy> const finder;
  auto const waiting = diagnostics::make_sleep_interrupt_policy(search_interval, stop_);
  while (true) {
    if (auto proxy = finder.find(instance_id_)) {
      proxy_ = std::move(proxy);
      return;
    }
    if (!waiting->retry()) {
      ara::log::LogDebug() << "Find proxy operation interrupted";
      return;
    }
  }
}

}  // namespace orvel::flashwatch
