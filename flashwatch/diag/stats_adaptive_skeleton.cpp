// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/diag/stats_adaptive_skeleton.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "ara/log/logging.h"
#include "flashwatch/diag/uds_response_codes.h"

namespace orvel::flashwatch::diagnostics {
namespace {

constexpr std::uint8_t MAX_REPORT_ENTRIES = 15;

/// Reduced to 8 bits first, then capped: 256 records count as none.
std::uint8_t count_entries(std::size_t records) {
  return std::min(static_cast<std::uint8_t>(records), MAX_REPORT_ENTRIES);
}

void append_big_endian(std::vector<std::uint8_t>& out, std::uint64_t value) {
  for (int shift = 56; shift >= 0; shift -= 8) {
    out.push_back(static_cast<std::uint8_t>(value >> shift));
  }
}

}  // namespace

Stats_adaptive_skeleton::Stats_adaptive_skeleton(std::shared_ptr<Stats_annual_supervision_if> const& supervision,
                                                 std::shared_ptr<Stats_logger_if> const& logger,
                                                 std::shared_ptr<Application_scid_converter_if> const& scid_converter,
                                                 std::string const& own_instance_id)
    : DataIdentifier_FlashwatchReportSkeleton(com::runtime::Instance_id(own_instance_id),
                                              tarn::com::Method_call_processing_mode::kEvent),
      supervision_(supervision),
      logger_(logger),
      scid_converter_(scid_converter) {}

ara::com::Future<void> Stats_adaptive_skeleton::Cancel(std::map<std::string, std::string> const& /*meta_info*/) {
  ara::com::Promise<void> promise;
  promise.set_value();
  return promise.get_future();
}

ara::com::Future<Stats_adaptive_skeleton::Interface::Read::Output> Stats_adaptive_skeleton::Read(
    std::map<std::string, std::string> const& /*meta_info*/) {
  ara::com::Promise<Interface::Read::Output> promise;
  try {
    auto const records = supervision_->get_stats();
    logger_->debug_log_stats(records);
    Interface::Read::Output output{count_entries(records.size()), {}};
    serialize(output.report_data, records);
    promise.set_value(std::move(output));
  } catch (std::exception const& error) {
    ara::log::LogWarn() << "Failed to provide statistics due to exception:" << error.what();
    promise.set_exception(std::make_exception_ptr(Interface::UDSServiceFailed(reading_failed)));
  } catch (...) {
    ara::log::LogWarn() << "Failed to provide statistics due to unknown exception";
    promise.set_exception(std::make_exception_ptr(Interface::UDSServiceFailed(reading_failed)));
  }
  return promise.get_future();
}

void Stats_adaptive_skeleton::serialize(std::vector<std::uint8_t>& out, std::vector<Stat_record> const& records) const {
  std::uint8_t entries = 0;
  for (auto const& record : records) {
    bool const fits = entries < MAX_REPORT_ENTRIES;
    ++entries;
    if (!fits) {
      ara::log::LogWarn() << "Max stats report size =" << MAX_REPORT_ENTRIES << "reached - entry for application"
                          << record.application_id << "discarded";
      continue;
    }
    append_big_endian(out, scid_converter_->get_scid(record.application_id));
    append_big_endian(out, record.acc_limits.soft);
    append_big_endian(out, record.total_write);
    append_big_endian(out, record.session_write);
  }
}

}  // namespace orvel::flashwatch::diagnostics
