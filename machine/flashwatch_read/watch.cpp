// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/watch.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "machine/flashwatch_read/read_error.h"
#include "machine/flashwatch_read/words.h"

namespace flashwatch_read {

Exit_code watch(Figure_source_if& source, Display_if& display, Scid_names const& names, Overview_context const& context,
                std::chrono::milliseconds interval) {
  std::optional<Reading> before;
  auto outcome = Exit_code::fine;
  auto next = source.now();
  try {
    for (;;) {
      std::optional<Reading> reading;
      try {
        reading = source.read();
      } catch (Read_error const& error) {
        if (!before) {
          throw;
        }
        outcome = Exit_code::could_not_read;
        display.show_trouble(std::string{error.what()} + "; trying again every " + limit_text(interval));
      }
      if (reading) {
        auto const overview = make_overview(*reading, before ? &*before : nullptr, names, context);
        outcome = overview.budget_exceeded ? Exit_code::budget_exceeded : Exit_code::fine;
        display.show(overview);
        before = std::move(reading);
      }
      next = std::max(next + interval, source.now());
      source.pause_until(next);
    }
  } catch (Stop_requested const&) {
    return outcome;
  }
}

}  // namespace flashwatch_read
