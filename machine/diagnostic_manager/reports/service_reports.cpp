// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/reports/service_reports.h"

#include "halden/services/diag/d_17f0/proxy/dataidentifier_flashwatchreport_proxy.h"
#include "halden/services/diag/d_17f2/proxy/dataidentifier_emmcbudgetexceedance_proxy.h"
#include "machine/diagnostic_manager/bytes/byte_writer.h"
#include "machine/diagnostic_manager/reports/service_report.h"

namespace machine::diagnostic_manager::reports {
namespace {

using Flashwatch_report = halden::services::diag::d_17f0::DataIdentifier_FlashwatchReport;
using Flashwatch_report_proxy = halden::services::diag::d_17f0::proxy::DataIdentifier_FlashwatchReportProxy;
using Budget_exceedance = halden::services::diag::d_17f2::DataIdentifier_EMMCBudgetExceedance;
using Budget_exceedance_proxy = halden::services::diag::d_17f2::proxy::DataIdentifier_EMMCBudgetExceedanceProxy;

Bytes report_record(Flashwatch_report::Read::Output const& output) {
  return Byte_writer().u8(output.entry_count).bytes(output.report_data).take();
}

Bytes exceedance_record(Budget_exceedance::Read::Output const& output) { return {output.budget_exceeded}; }

}  // namespace

std::unique_ptr<Report_if> make_flashwatch_report(std::string const& instance, ara::log::Logger const& log) {
  return std::make_unique<Service_report<Flashwatch_report_proxy, Flashwatch_report>>(
      orvel::com::runtime::Instance_id(instance), &report_record, log);
}

std::unique_ptr<Report_if> make_budget_exceedance(std::string const& instance, ara::log::Logger const& log) {
  return std::make_unique<Service_report<Budget_exceedance_proxy, Budget_exceedance>>(
      orvel::com::runtime::Instance_id(instance), &exceedance_record, log);
}

}  // namespace machine::diagnostic_manager::reports
