// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_TABLE_H
#define MACHINE_FLASHWATCH_READ_TABLE_H

#include <cstddef>
#include <string>

#include "machine/flashwatch_read/amounts.h"
#include "machine/flashwatch_read/overview.h"

namespace flashwatch_read {

struct Table_style {
  std::size_t width = 80;  ///< terminal cells
  bool colours = false;
  Amount_style amounts = Amount_style::units;
};

/// The picture for a person, ending in a newline: whom it was read from, who has exceeded, one line for each
/// application, notes. Names are cut and the bar shrinks so that it fits the width; only amounts of extreme length
/// may exceed it. While watching, the columns of session and limit give way to rate and forecast when there is no room
/// for all.
std::string table_text(Overview const& overview, Table_style const& style);

}  // namespace flashwatch_read

#endif
