// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_REPORTS_SERVICE_REPORTS_H
#define MACHINE_DIAGNOSTIC_MANAGER_REPORTS_SERVICE_REPORTS_H

#include <memory>
#include <string>

#include "ara/log/logger.h"
#include "machine/diagnostic_manager/reports/report_if.h"

namespace machine::diagnostic_manager::reports {

/// The services behind the two identifiers, reached through the communication runtime, which outlives them. `instance`
/// is the name or number under which the manifest deploys them; tarn::com::Invalid_argument_exception when it does not.

/// 0x17F0: the entry count (one byte) followed by the report's bytes.
std::unique_ptr<Report_if> make_flashwatch_report(std::string const& instance, ara::log::Logger const& log);
/// 0x17F2: one byte.
std::unique_ptr<Report_if> make_budget_exceedance(std::string const& instance, ara::log::Logger const& log);

}  // namespace machine::diagnostic_manager::reports

#endif
