// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_DISPLAY_IF_H
#define MACHINE_FLASHWATCH_READ_DISPLAY_IF_H

#include <string>

#include "machine/flashwatch_read/overview.h"

namespace flashwatch_read {

/// What shows the course of a watch. Both operations throw Read_error when nothing can be written any more.
class Display_if {
 public:
  virtual ~Display_if() = default;
  Display_if(Display_if const&) = delete;
  Display_if& operator=(Display_if const&) = delete;

  virtual void show(Overview const& overview) = 0;
  /// A reading failed; `text` is one line that says why, and that there will be another try.
  virtual void show_trouble(std::string const& text) = 0;

 protected:
  Display_if() = default;
};

}  // namespace flashwatch_read

#endif
