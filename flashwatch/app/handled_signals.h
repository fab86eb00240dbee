// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_HANDLED_SIGNALS_H
#define FLASHWATCH_APP_HANDLED_SIGNALS_H

#include <csignal>
#include <initializer_list>

namespace orvel::flashwatch {

/// The signals that end the service in good order, in the order of their registration.
inline constexpr std::initializer_list<int const> handled_signals{SIGTERM, SIGABRT, SIGINT};

}  // namespace orvel::flashwatch

#endif
