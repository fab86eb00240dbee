// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_CONFIG_PERIODIC_LOGGING_CONF_IF_H
#define FLASHWATCH_CONFIG_PERIODIC_LOGGING_CONF_IF_H

#include <chrono>

namespace orvel::flashwatch::diagnostics {

/// Whether statistics are logged periodically, and how long one pass of the main loop waits: two separate answers.
class Periodic_logging_conf_if {
 public:
  virtual ~Periodic_logging_conf_if() = default;
  Periodic_logging_conf_if(Periodic_logging_conf_if const&) = delete;
  Periodic_logging_conf_if& operator=(Periodic_logging_conf_if const&) = delete;

  virtual bool is_enabled() const = 0;
  /// 1 to 1440 minutes, also when logging is disabled.
  virtual std::chrono::minutes get_period() const = 0;

 protected:
  Periodic_logging_conf_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
