// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_JSON_TEXT_H
#define MACHINE_FLASHWATCH_READ_JSON_TEXT_H

#include <string>

#include "machine/flashwatch_read/overview.h"

namespace flashwatch_read {

/// One reading as one line of JSON, ending in a newline, for other programs; the manual page documents its members.
/// All integers are exact over the whole unsigned 64-bit range, so a reader must not take them as binary64 numbers.
std::string json_text(Overview const& overview);

}  // namespace flashwatch_read

#endif
