// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_REPORTS_REPORT_OUTCOME_H
#define MACHINE_DIAGNOSTIC_MANAGER_REPORTS_REPORT_OUTCOME_H

#include <cstdint>
#include <variant>

#include "machine/diagnostic_manager/bytes/byte_view.h"
#include "machine/diagnostic_manager/uds/data_identifier_if.h"

namespace machine::diagnostic_manager::reports {

/// The service answered that it failed, and with which negative response code.
struct Service_failed {
  std::uint8_t response_code;
};
/// The service is not offered, ended while it was asked, or answered nonsense.
struct Service_absent {};
/// The service took the request and did not answer in time.
struct Service_hung {};

/// How asking a service for the record of its identifier ended.
using Report_outcome = std::variant<Bytes, Service_failed, Service_absent, Service_hung>;

/// The same in the words of UDS: absent is conditionsNotCorrect, hung generalReject, a failure the service's own code.
/// The codes that end no request, 0x00 and responsePending, become generalReject.
uds::Read_outcome to_read_outcome(Report_outcome outcome);

}  // namespace machine::diagnostic_manager::reports

#endif
