// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_DIAG_STATS_ADAPTIVE_SKELETON_H
#define FLASHWATCH_DIAG_STATS_ADAPTIVE_SKELETON_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "flashwatch/config/application_scid_converter_if.h"
#include "flashwatch/reporting/stats_logger_if.h"
#include "flashwatch/stats/stats_annual_supervision_if.h"
#include "halden/services/diag/d_17f0/skeleton/dataidentifier_flashwatchreport_skeleton.h"

namespace orvel::flashwatch::diagnostics {

/// Answers data identifier 0x17F0 with fresh figures of the first applications. Its methods run on threads of the
/// communication, several at a time, and keep no state between calls.
///
/// An entry of the report is four unsigned 64-bit numbers, big-endian: SCID, accumulated soft limit, total writes and
/// session writes. Entries stand back to back in the order of the records.
class Stats_adaptive_skeleton final
    : public halden::services::diag::d_17f0::skeleton::DataIdentifier_FlashwatchReportSkeleton {
 public:
  using Interface = halden::services::diag::d_17f0::DataIdentifier_FlashwatchReport;

  /// tarn::com::Invalid_argument_exception when `own_instance_id` cannot name an instance.
  Stats_adaptive_skeleton(std::shared_ptr<Stats_annual_supervision_if> const& supervision,
                          std::shared_ptr<Stats_logger_if> const& logger,
                          std::shared_ptr<Application_scid_converter_if> const& scid_converter,
                          std::string const& own_instance_id);

  /// Nothing to cancel: a reading is complete when Read returns.
  ara::com::Future<void> Cancel(std::map<std::string, std::string> const& meta_info) override;
  /// The future is ready; any failure is UDSServiceFailed.
  ara::com::Future<Interface::Read::Output> Read(std::map<std::string, std::string> const& meta_info) override;

  /// Appends the entries of `records`. The entry counter has 8 bits: after 256 records the next 15 are entries again.
  void serialize(std::vector<std::uint8_t>& out, std::vector<Stat_record> const& records) const;

 private:
  std::shared_ptr<Stats_annual_supervision_if> supervision_;
  std::shared_ptr<Stats_logger_if> logger_;
  std::shared_ptr<Application_scid_converter_if> scid_converter_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
