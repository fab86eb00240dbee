// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_DIAG_UDS_RESPONSE_CODES_H
#define FLASHWATCH_DIAG_UDS_RESPONSE_CODES_H

#include "tarn/dm/types/uds_response_code_type.h"

namespace orvel::flashwatch::diagnostics {

/// The negative response code of every reading that fails: serviceNotSupported of ISO 14229-1, table A.1.
constexpr tarn::dm::types::UDSResponseCodeType reading_failed = 0x11;

}  // namespace orvel::flashwatch::diagnostics

#endif
