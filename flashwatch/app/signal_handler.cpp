// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/app/signal_handler.h"

#include <csignal>
#include <string>
#include <system_error>

namespace orvel::flashwatch {

Signal_handler::Signal_handler(void (*handler)(int)) : handler_(handler) {}

void Signal_handler::register_signals(std::initializer_list<int const> const& signals) const {
  for (int const sig : signals) {
    register_signal(sig);
  }
}

void Signal_handler::register_signal(int sig) const {
  if (std::signal(sig, handler_) == SIG_ERR) {
    throw std::system_error(0, std::system_category(), "std::signal failed for sig " + std::to_string(sig));
  }
}

}  // namespace orvel::flashwatch
