// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_TERMINAL_DISPLAY_H
#define MACHINE_FLASHWATCH_READ_TERMINAL_DISPLAY_H

#include <cstddef>
#include <functional>
#include <optional>
#include <ostream>
#include <string>

#include "machine/flashwatch_read/display_if.h"
#include "machine/flashwatch_read/table.h"

namespace flashwatch_read {

struct Terminal_size {
  std::size_t columns = 80;
  std::size_t rows = 24;
};

/// Draws each reading over the one before, from the first on, on the terminal's second screen and without a cursor. At
/// its end the terminal is as it was, with the last picture below what stood there.
class Terminal_display final : public Display_if {
 public:
  using Size_of = std::function<Terminal_size()>;
  /// `terminal` outlives the display. `size_of` is asked before each picture; `style` without its width.
  Terminal_display(std::ostream& terminal, Size_of size_of, Table_style const& style);
  ~Terminal_display() override;

  void show(Overview const& overview) override;
  /// Keeps the last figures in sight, below the trouble.
  void show_trouble(std::string const& text) override;

 private:
  void draw(std::string const& trouble);

  std::ostream& terminal_;
  Size_of size_of_;
  Table_style style_;
  std::optional<Overview> last_;  ///< nothing before the second screen is entered
};

}  // namespace flashwatch_read

#endif
