// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_OVERVIEW_H
#define MACHINE_FLASHWATCH_READ_OVERVIEW_H

#include <optional>
#include <string>
#include <vector>

#include "machine/flashwatch_read/amounts.h"
#include "machine/flashwatch_read/report.h"
#include "machine/flashwatch_read/scid_names.h"
#include "machine/flashwatch_read/trend.h"

namespace flashwatch_read {

/// One application as it is shown.
struct Application {
  Report_entry figures;
  std::vector<std::string> names;  ///< as in the mapping file; none, or several for one SCID
  std::string label;               ///< the names, or why there is none, fit for a terminal
  std::optional<Trend> trend;
};

/// Everything there is to say about one reading, before it becomes a table or JSON.
struct Overview {
  std::string machine;  ///< whom the figures were read from
  bool watching = false;
  std::vector<Application> applications;  ///< in the order of the report
  unsigned announced = 0;                 ///< the report's count byte
  bool budget_exceeded = false;           ///< by 0x17F2, or by any application in the report
  std::vector<std::string> verdict;       ///< each who has exceeded, or that nobody has; never empty
  std::vector<std::string> notes;         ///< what a person has to know to trust the figures rightly
};

/// What an overview is made for.
struct Overview_context {
  std::string machine;
  bool watching = false;
  Amount_style amounts = Amount_style::units;  ///< of the amounts in the verdict
};

/// `before` is the reading before this one, or nullptr.
Overview make_overview(Reading const& reading, Reading const* before, Scid_names const& names,
                       Overview_context const& context);

}  // namespace flashwatch_read

#endif
