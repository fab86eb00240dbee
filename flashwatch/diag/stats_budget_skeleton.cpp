// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/diag/stats_budget_skeleton.h"

#include <algorithm>
#include <cstdint>
#include <exception>

#include "ara/log/logging.h"
#include "flashwatch/diag/uds_response_codes.h"

namespace orvel::flashwatch::diagnostics {

Stats_budget_skeleton::Stats_budget_skeleton(std::shared_ptr<Stats_annual_supervision_if> const& supervision,
                                             std::string const& own_instance_id)
    : DataIdentifier_EMMCBudgetExceedanceSkeleton(com::runtime::Instance_id(own_instance_id),
                                                  tarn::com::Method_call_processing_mode::kEvent),
      supervision_(supervision) {}

ara::com::Future<void> Stats_budget_skeleton::Cancel(std::map<std::string, std::string> const& /*meta_info*/) {
  ara::com::Promise<void> promise;
  promise.set_value();
  return promise.get_future();
}

ara::com::Future<Stats_budget_skeleton::Interface::Read::Output> Stats_budget_skeleton::Read(
    std::map<std::string, std::string> const& /*meta_info*/) {
  ara::com::Promise<Interface::Read::Output> promise;
  try {
    auto const records = supervision_->get_stats();
    bool const exceeded = std::any_of(records.begin(), records.end(), [](Stat_record const& record) {
      return record.total_write > record.acc_limits.soft;
    });
    ara::log::LogDebug() << "Budget exceeded:" << (exceeded ? "yes" : "no");
    promise.set_value({static_cast<std::uint8_t>(exceeded ? 1 : 0)});
  } catch (std::exception const& error) {
    ara::log::LogWarn() << "Failed to provide budget due to exception:" << error.what();
    promise.set_exception(std::make_exception_ptr(Interface::UDSServiceFailed(reading_failed)));
  } catch (...) {
    ara::log::LogWarn() << "Failed to provide budget due to unknown exception";
    promise.set_exception(std::make_exception_ptr(Interface::UDSServiceFailed(reading_failed)));
  }
  return promise.get_future();
}

}  // namespace orvel::flashwatch::diagnostics
