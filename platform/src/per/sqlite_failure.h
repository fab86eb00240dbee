// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_SQLITE_FAILURE_H
#define PLATFORM_SRC_PER_SQLITE_FAILURE_H

#include <string>

#include <sqlite3.h>

namespace linux_platform::per {

/// The cause behind an extended SQLite result code, in words, with the code and the system's own error if there is one.
/// `connection` may be null.
std::string sqlite_cause(sqlite3* connection, int result);

}  // namespace linux_platform::per

#endif
