// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_SIGNAL_HANDLER_H
#define FLASHWATCH_APP_SIGNAL_HANDLER_H

#include <initializer_list>

#include "flashwatch/app/signal_handler_if.h"

namespace orvel::flashwatch {

/// Installs one function as the handler of signals.
class Signal_handler final : public Signal_handler_if {
 public:
  explicit Signal_handler(void (*handler)(int));

  void register_signals(std::initializer_list<int const> const& signals) const override;
  void register_signal(int sig) const;

 private:
  void (*handler_)(int);
};

}  // namespace orvel::flashwatch

#endif
