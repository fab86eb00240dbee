// SPDX-License-Identifier: Apache-2.0
#include "machine/persistency_statistics/budgets.h"

#include <limits>

namespace persistency_statistics {
namespace {

Budget read_budget(linux_platform::manifest::Node const& node) {
  constexpr auto max_bytes = std::numeric_limits<std::uint64_t>::max();
  node.allow_only({"soft", "hard"});
  return {node.member("soft").number(0, max_bytes), node.member("hard").number(0, max_bytes)};
}

}  // namespace

Budgets::Budgets(linux_platform::manifest::Node const& persistency)
    : default_(read_budget(persistency.member("default_budget"))) {
  if (auto const budgets = persistency.find("budgets")) {
    for (auto const& [application_id, budget] : budgets->members()) {
      budgets_[application_id] = read_budget(budget);
    }
  }
}

Budget const& Budgets::of(std::string const& application_id) const {
  auto const found = budgets_.find(application_id);
  return found == budgets_.end() ? default_ : found->second;
}

}  // namespace persistency_statistics
