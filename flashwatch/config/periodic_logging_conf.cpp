// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/config/periodic_logging_conf.h"

#include <cstdint>

#include "ara/log/logging.h"

namespace orvel::flashwatch::diagnostics {
namespace {

constexpr std::chrono::minutes maximum_period{1440};
constexpr std::chrono::minutes default_period{15};
/// Paces the main loop, and so its alive checkpoints, when nothing is logged. Not the default period on purpose.
constexpr std::chrono::minutes period_when_disabled{30};

std::int64_t count(std::chrono::minutes period) { return period.count(); }

}  // namespace

Periodic_logging_conf::Periodic_logging_conf(boost::optional<std::chrono::minutes> const& configured)
    : period_(default_period) {
  auto line = ara::log::LogDebug();
  if (!configured) {
    line << "Log period missing - default time:" << count(default_period) << "minutes will be used";
    return;
  }
  line << "Configured log period:" << count(*configured);
  if (count(*configured) > 0 && *configured <= maximum_period) {
    line << "minutes will be used for periodic logging";
    period_ = *configured;
  } else if (count(*configured) > 0) {
    line << "minutes will be replaced by maximum allowed:" << count(maximum_period) << "minutes";
    period_ = maximum_period;
  } else {
    line << (count(*configured) == 0 ? "minutes will disable periodic logging"
                                     : "minutes is invalid - periodic logging will be disabled");
    period_ = period_when_disabled;
    enabled_ = false;
  }
}

bool Periodic_logging_conf::is_enabled() const { return enabled_; }

std::chrono::minutes Periodic_logging_conf::get_period() const { return period_; }

}  // namespace orvel::flashwatch::diagnostics
