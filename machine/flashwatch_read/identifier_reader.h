// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_IDENTIFIER_READER_H
#define MACHINE_FLASHWATCH_READ_IDENTIFIER_READER_H

#include <cstdint>

#include "machine/flashwatch_read/doip_session.h"
#include "machine/flashwatch_read/report.h"

namespace flashwatch_read {

/// Reads one data identifier with a request of its own (ISO 14229-1, 0x22), because a record's end can only be told
/// from the end of the response. While the entity says that its response is pending, the next answer may take 5 s
/// longer than the session's timeout; one of the first 12 answers has to be final. Throws Read_error, or
/// Stop_requested.
Bytes read_identifier(Doip_session& session, Tester_settings const& settings, std::uint16_t identifier);

/// Reads 0x17F0, then 0x17F2. Writes only ever grow, so an exceedance that the report shows cannot be missing from the
/// flag for having been read too early.
Reading read_figures(Doip_session& session, Tester_settings const& settings);

}  // namespace flashwatch_read

#endif
