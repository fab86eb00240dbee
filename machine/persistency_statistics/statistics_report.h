// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_PERSISTENCY_STATISTICS_STATISTICS_REPORT_H
#define MACHINE_PERSISTENCY_STATISTICS_STATISTICS_REPORT_H

#include <cstddef>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "ara/log/logger.h"
#include "machine/persistency_statistics/budgets.h"
#include "machine/persistency_statistics/usage_source_if.h"
#include "orvel/persistency/statistics.h"

namespace persistency_statistics {

/// Joins every application's counters with its yearly budget. Logs what changes from one answer to the next: storages
/// that are found damaged, applications that come and go; never once per request.
class Statistics_report final {
 public:
  using Output = orvel::persistency::statistics::get_KVS_statistics::Output;

  /// More applications than this, in the order of their ids, are left out: as many, with the longest ids there can be,
  /// fit a message of the default limit.
  static constexpr std::size_t max_applications = 4096;

  /// The references outlive the object.
  Statistics_report(Usage_source_if& source, Budgets const& budgets, ara::log::Logger& logger);

  /// The counters as they are now. Any thread; several at a time wait for one another, for as long as a reading takes.
  /// Throws what the source throws.
  Output now();

 private:
  using Ids = std::set<std::string>;

  Usage_source_if::Reading read();
  Output join(Usage_source_if::Reading const& reading, Ids& unreportable) const;
  void log_applications(Ids ids);
  void log_unreportable(Ids ids);

  Usage_source_if& source_;
  Budgets const& budgets_;
  ara::log::Logger& logger_;

  std::mutex mutex_;             // guards all below, and the source
  std::optional<Ids> reported_;  // the applications of the last answer
  Ids unreportable_;             // those whose id is no text, or that were too many
  std::string trouble_;          // why the last reading failed; empty when it did not
};

}  // namespace persistency_statistics

#endif
