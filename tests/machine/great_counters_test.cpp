// SPDX-License-Identifier: Apache-2.0
// Great counters, from a storage over a restart of the machine to what the statistics service answers.
#include <fstream>
#include <memory>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ara/log/logging.h"
#include "machine/persistency_statistics/statistics_report.h"
#include "machine/persistency_statistics/stored_usage.h"
#include "platform/src/per/usage_file.h"
#include "tests/platform/per/machine.h"

namespace persistency_statistics {
namespace {

auto answer(per_test::Machine const& machine) {
  auto const document =
      std::make_shared<nlohmann::json const>(nlohmann::json::parse(R"({"default_budget": {"soft": 1, "hard": 2}})"));
  Budgets const budgets{{document, *document, "m.json", "persistency"}};
  Stored_usage source{machine.settings};
  return Statistics_report{source, budgets, ara::log::CreateLogger("STAT", "")}.now().at("app");
}

TEST(Great_counters, are_kept_and_stop_at_the_greatest) {
  using linux_platform::per::saturating_sum;
  constexpr std::uint64_t one = 1;
  for (auto const count : {one << 31U, one << 32U, one << 53U, (one << 63U) - 1, one << 63U, ~one, ~std::uint64_t{0}}) {
    SCOPED_TRACE(count);
    per_test::Machine const machine;
    machine.commit_once();
    std::array<std::uint64_t, 3> const words{count, count, count};
    std::fstream(machine.counters(), std::ios::in | std::ios::out | std::ios::binary)
        .seekp(linux_platform::per::Usage_file::run_at)
        .write(reinterpret_cast<char const*>(words.data()), sizeof words);
    machine.commit_once();
    auto const before = answer(machine);
    EXPECT_EQ(before.session_setvalue, saturating_sum(count, 1));
    EXPECT_EQ(before.total_setvalue, saturating_sum(count, 1));
    EXPECT_GE(before.total_write, count);
    EXPECT_EQ(before.total_read, count);
    machine.lose_run_directory();
    auto const after = answer(machine);
    EXPECT_EQ(after.session_setvalue, 0U);
    EXPECT_EQ(after.total_setvalue, before.total_setvalue);
    EXPECT_TRUE(after.total_write >= count && after.total_write <= before.total_write);
    EXPECT_EQ(after.total_read, count);
  }
}

}  // namespace
}  // namespace persistency_statistics
