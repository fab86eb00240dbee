// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_INIT_ARA_LOGGING_H
#define FLASHWATCH_APP_INIT_ARA_LOGGING_H

namespace orvel::flashwatch {

/// Registers the application with the log. Called first of all, from the main thread.
void init_ara_logging() noexcept;

}  // namespace orvel::flashwatch

#endif
