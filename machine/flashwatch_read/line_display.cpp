// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/line_display.h"

#include "machine/flashwatch_read/read_error.h"

namespace flashwatch_read {

void Line_display::show(Overview const& overview) {
  if (!(readings_ << text_of_(overview) << std::flush)) {
    throw Read_error{"writing the figures to standard output: it takes no more"};
  }
}

void Line_display::show_trouble(std::string const& text) { troubles_ << "flashwatch_read: " << text << std::endl; }

}  // namespace flashwatch_read
