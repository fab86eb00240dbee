// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_CONFIG_LOG_PERIOD_PROVIDER_IF_H
#define FLASHWATCH_CONFIG_LOG_PERIOD_PROVIDER_IF_H

#include <chrono>

#include <boost/optional.hpp>

namespace orvel::flashwatch::diagnostics {

class Log_period_provider_if {
 public:
  virtual ~Log_period_provider_if() = default;
  Log_period_provider_if(Log_period_provider_if const&) = delete;
  Log_period_provider_if& operator=(Log_period_provider_if const&) = delete;

  /// The configured period of statistics logging, in any range; empty when none is usable.
  virtual boost::optional<std::chrono::minutes> get_log_period() const = 0;

 protected:
  Log_period_provider_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
