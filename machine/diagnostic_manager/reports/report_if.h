// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_REPORTS_REPORT_IF_H
#define MACHINE_DIAGNOSTIC_MANAGER_REPORTS_REPORT_IF_H

#include <atomic>
#include <optional>

#include "machine/diagnostic_manager/reports/report_outcome.h"

namespace machine::diagnostic_manager::reports {

/// A service that is asked for the record of its identifier. Used by one thread at a time. Does not throw.
class Report_if {
 public:
  Report_if() = default;
  virtual ~Report_if() = default;
  Report_if(Report_if const&) = delete;
  Report_if& operator=(Report_if const&) = delete;

  /// Asks the service if it can be expected to answer at once, and waits a moment for it. Nothing when it does not:
  /// then read() is to go on with the question.
  [[nodiscard]] virtual std::optional<Report_outcome> read_at_once() = 0;

  /// Blocks until the service has answered or failed to; gives up soon after `stop` has become true.
  [[nodiscard]] virtual Report_outcome read(std::atomic<bool> const& stop) = 0;
};

}  // namespace machine::diagnostic_manager::reports

#endif
