// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/reports/report_outcome.h"

#include <utility>

namespace machine::diagnostic_manager::reports {

using uds::Response_code;

uds::Read_outcome to_read_outcome(Report_outcome outcome) {
  if (auto* const record = std::get_if<Bytes>(&outcome)) {
    return std::move(*record);
  }
  if (auto const* failed = std::get_if<Service_failed>(&outcome)) {
    auto const code = static_cast<Response_code>(failed->response_code);
    bool const ends_request = failed->response_code != 0 && code != Response_code::response_pending;
    return ends_request ? code : Response_code::general_reject;
  }
  return std::holds_alternative<Service_hung>(outcome) ? Response_code::general_reject
                                                       : Response_code::conditions_not_correct;
}

}  // namespace machine::diagnostic_manager::reports
