// SPDX-License-Identifier: Apache-2.0
// Counters joined with budgets, and what is said of changes.
#include "machine/persistency_statistics/statistics_report.h"

#include <memory>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ara/log/logging.h"
#include "platform/src/log/installed_sink.h"
#include "platform/src/log/recording_sink.h"

namespace persistency_statistics {
namespace {

Budgets budgets(char const* text) {
  auto document = std::make_shared<nlohmann::json const>(nlohmann::json::parse(text));
  auto const& value = *document;
  return Budgets{{std::move(document), value, "m.json", "persistency"}};
}

struct Scripted_usage final : Usage_source_if {
  Reading read() override { return reading; }
  Reading reading;
};

TEST(AStatisticsReport, JoinsCountersWithBudgetsAndLogsChangesOnce) {
  using Texts = std::vector<std::string>;
  linux_platform::log::Recording_sink sink;
  linux_platform::log::Installed_sink const installed{sink};
  auto const logged = [&sink] {
    Texts texts;
    for (auto const& record : sink.take()) {
      auto const* text = std::get_if<std::string>(&record.pieces.back());
      texts.push_back(text != nullptr ? *text : std::get<std::string>(record.pieces.front()));
    }
    return texts;
  };
  Scripted_usage usage;
  auto const known =
      budgets(R"({"default_budget": {"soft": 10, "hard": 20}, "budgets": {"b": {"soft": 1, "hard": 2}}})");
  Statistics_report report{usage, known, ara::log::CreateLogger("STAT", "")};

  usage.reading = {{{"a", {1, 2, 3}, {4, 5, 6}}, {"b", {}, {}}, {"\xFF", {}, {}}}, {"c: damaged"}};
  auto const first = report.now();
  ASSERT_EQ(first.size(), 2U) << "an id that is no text is left out";
  auto const& a = first.at("a");
  EXPECT_EQ(a.application_id, "a");
  EXPECT_EQ((std::vector<std::uint64_t>{a.session_read, a.session_write, a.session_setvalue, a.total_read,
                                        a.total_write, a.total_setvalue, a.soft_limit, a.hard_limit}),
            (std::vector<std::uint64_t>{1, 2, 3, 4, 5, 6, 10, 20}));
  EXPECT_EQ(first.at("b").soft_limit, 1U);
  EXPECT_EQ(first.at("b").hard_limit, 2U);
  EXPECT_EQ(logged(), (Texts{"c: damaged", "applications with a storage:", "\\xFF"}));

  usage.reading.findings.clear();
  report.now();
  EXPECT_EQ(logged(), Texts{});
  usage.reading.applications = {{"a", {}, {}}, {"n", {}, {}}};
  EXPECT_EQ(report.now().count("b"), 0U);
  EXPECT_EQ(logged(), (Texts{"n", "b"}));
}

TEST(Budgets, AreRefusedWithTheNameOfTheMember) {
  for (auto const& [text, complaint] : std::vector<std::pair<char const*, char const*>>{
           {"{}", "persistency.default_budget is missing"},
           {R"({"default_budget": {"soft": 1}})", "persistency.default_budget.hard is missing"},
           {R"({"default_budget": {"soft": -1, "hard": 1}})", "persistency.default_budget.soft must be"},
           {R"({"default_budget": {"soft": 1, "hard": 1, "har": 1}})", "har"},
           {R"({"default_budget": {"soft": 1, "hard": 1}, "budgets": {"a": 5}})", "persistency.budgets.a must be"}}) {
    try {
      budgets(text);
      FAIL() << text;
    } catch (linux_platform::manifest::Manifest_error const& error) {
      EXPECT_NE(std::string{error.what()}.find(complaint), std::string::npos) << error.what();
    }
  }
}

}  // namespace
}  // namespace persistency_statistics
