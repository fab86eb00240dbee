// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_SIGNAL_HANDLER_IF_H
#define FLASHWATCH_APP_SIGNAL_HANDLER_IF_H

#include <initializer_list>

namespace orvel::flashwatch {

class Signal_handler_if {
 public:
  virtual ~Signal_handler_if() = default;
  Signal_handler_if(Signal_handler_if const&) = delete;
  Signal_handler_if& operator=(Signal_handler_if const&) = delete;

  /// Installs the handler for each signal in order. std::system_error at the first that cannot be handled, which leaves
  /// the later ones as they were.
  virtual void register_signals(std::initializer_list<int const> const& signals) const = 0;

 protected:
  Signal_handler_if() = default;
};

}  // namespace orvel::flashwatch

#endif
