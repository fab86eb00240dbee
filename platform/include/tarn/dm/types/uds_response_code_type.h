// SPDX-License-Identifier: Apache-2.0
#ifndef TARN_DM_TYPES_UDS_RESPONSE_CODE_TYPE_H
#define TARN_DM_TYPES_UDS_RESPONSE_CODE_TYPE_H

#include <cstdint>

namespace tarn::dm::types {

/// A negative response code of ISO 14229-1, table A.1.
using UDSResponseCodeType = std::uint8_t;

}  // namespace tarn::dm::types

#endif
