// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_PERSISTENCY_STATISTICS_BUDGETS_H
#define MACHINE_PERSISTENCY_STATISTICS_BUDGETS_H

#include <cstdint>
#include <map>
#include <string>

#include "platform/src/manifest/node.h"

namespace persistency_statistics {

/// What an application may write to the medium in one year of use, in bytes.
struct Budget {
  std::uint64_t soft = 0;  ///< beyond it the application wears the medium more than planned
  std::uint64_t hard = 0;
};

/// The yearly budgets of the machine manifest.
class Budgets final {
 public:
  /// Reads the members "default_budget" (required) and "budgets" of the manifest's part "persistency".
  /// linux_platform::manifest::Manifest_error names what is wrong.
  explicit Budgets(linux_platform::manifest::Node const& persistency);

  /// The application's own budget, or the default one.
  Budget const& of(std::string const& application_id) const;

 private:
  Budget default_;
  std::map<std::string, Budget> budgets_;
};

}  // namespace persistency_statistics

#endif
