// SPDX-License-Identifier: Apache-2.0
// From a configured period of any value to the two answers, and the line that states the decision.
#include "flashwatch/config/periodic_logging_conf.h"

#include <limits>

#include <gmock/gmock.h>

#include "tests/scripted_platform/script.h"

namespace orvel::flashwatch::diagnostics {
namespace {

struct Case {
  boost::optional<std::chrono::minutes> configured;
  bool enabled;
  int period;
  std::string line;
};

TEST(APeriodicLoggingConf, DecidesByTheConfiguredValue) {
  constexpr auto minutes = [](std::int64_t count) { return std::chrono::minutes(count); };
  constexpr auto most_negative = std::numeric_limits<std::int64_t>::min() + 1;
  auto const configured = [](std::int64_t value, auto const&... rest) {
    return script::debug("Configured log period:", value, rest...);
  };
  auto const used = "minutes will be used for periodic logging";
  auto const replaced = "minutes will be replaced by maximum allowed:";
  auto const invalid = "minutes is invalid - periodic logging will be disabled";
  std::int64_t const maximum = 1440;
  std::int64_t const standard = 15;
  for (auto const& [value, enabled, period, line] : std::vector<Case>{
           {boost::none, true, 15,
            script::debug("Log period missing - default time:", standard, "minutes will be used")},
           {minutes(1), true, 1, configured(1, used)},
           {minutes(1440), true, 1440, configured(1440, used)},
           {minutes(1441), true, 1440, configured(1441, replaced, maximum, "minutes")},
           {minutes(1000000), true, 1440, configured(1000000, replaced, maximum, "minutes")},
           {minutes(0), false, 30, configured(0, "minutes will disable periodic logging")},
           {minutes(-1), false, 30, configured(-1, invalid)},
           {minutes(most_negative), false, 30, configured(most_negative, invalid)},
       }) {
    script::reset();
    Periodic_logging_conf const conf(value);

    EXPECT_EQ(conf.is_enabled(), enabled);
    EXPECT_EQ(conf.get_period(), minutes(period));
    EXPECT_THAT(script::journal(), ::testing::ElementsAre(line));
  }
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
