// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_SHUTDOWN_REQUESTED_H
#define FLASHWATCH_APP_SHUTDOWN_REQUESTED_H

#include <atomic>

namespace orvel::flashwatch {

/// Whether the process was told to end. Set by the signal function, never reset, read everywhere else: the one thing
/// that a signal and the rest of the program share.
extern std::atomic<bool> shutdown_requested;

/// The signal function; does nothing that a signal handler must not.
void request_shutdown(int signal) noexcept;

}  // namespace orvel::flashwatch

#endif
