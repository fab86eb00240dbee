// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_RUN_APPLICATION_H
#define FLASHWATCH_APP_RUN_APPLICATION_H

namespace orvel::flashwatch {

/// The process from its first to its last log line; what main does. Returns the exit code: 0 after a normal end, 1 when
/// an exception ended the run, which is then logged.
int run_application();

}  // namespace orvel::flashwatch

#endif
