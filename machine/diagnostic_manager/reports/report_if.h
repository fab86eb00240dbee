// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_REPORTS_BLOCKING_REPORT_IF_H
#define MACHINE_DIAGNOSTIC_MANAGER_REPORTS_BLOCKING_REPORT_IF_H

#include <atomic>

#include "machine/diagnostic_manager/reports/report_outcome.h"

namespace machine::diagnostic_manager::reports {

/// A service that is asked for the record of its identifier. Used by one thread only.
class Blocking_report_if {
 public:
  Blocking_report_if() = default;
  virtual ~Blocking_report_if() = default;
  Blocking_report_if(Blocking_report_if const&) = delete;
  Blocking_report_if& operator=(Blocking_report_if const&) = delete;

  /// Blocks until the service has answered or failed to; gives up soon after `stop` has become true. Does not throw.
  [[nodiscard]] virtual Report_outcome read(std::atomic<bool> const& stop) = 0;
};

}  // namespace machine::diagnostic_manager::reports

#endif
