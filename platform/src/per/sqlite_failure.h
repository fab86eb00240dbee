// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_SQLITE_FAILURE_H
#define PLATFORM_SRC_PER_SQLITE_FAILURE_H

#include <string>

namespace linux_platform::per {

/// The cause behind an extended SQLite result code, in words, with the code and the system's error number `error` if
/// that is not 0.
std::string sqlite_cause(int result, int error);

}  // namespace linux_platform::per

#endif
