// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_UDS_IDENTIFIER_TABLE_H
#define MACHINE_DIAGNOSTIC_MANAGER_UDS_IDENTIFIER_TABLE_H

#include <cstdint>
#include <map>
#include <memory>

#include "machine/diagnostic_manager/uds/data_identifier_if.h"

namespace machine::diagnostic_manager::uds {

/// The identifiers that can be read, by their number.
using Identifier_table = std::map<std::uint16_t, std::unique_ptr<Data_identifier_if>>;

inline constexpr std::uint16_t did_active_session = 0xF186;
inline constexpr std::uint16_t did_vin = 0xF190;
inline constexpr std::uint16_t did_flashwatch_report = 0x17F0;
inline constexpr std::uint16_t did_budget_exceedance = 0x17F2;

}  // namespace machine::diagnostic_manager::uds

#endif
