// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_CONFIG_PERIODIC_LOGGING_CONF_H
#define FLASHWATCH_CONFIG_PERIODIC_LOGGING_CONF_H

#include <chrono>

#include <boost/optional.hpp>

#include "flashwatch/config/periodic_logging_conf_if.h"

namespace orvel::flashwatch::diagnostics {

/// Brings a configured period of any value into range and logs the decision once.
class Periodic_logging_conf final : public Periodic_logging_conf_if {
 public:
  /// Absent means the default of 15 minutes; more than a day is cut to a day; 0 or less disables periodic logging.
  explicit Periodic_logging_conf(boost::optional<std::chrono::minutes> const& configured);

  bool is_enabled() const override;
  std::chrono::minutes get_period() const override;

 private:
  std::chrono::minutes period_;
  bool enabled_ = true;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
