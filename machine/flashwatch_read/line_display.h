// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_LINE_DISPLAY_H
#define MACHINE_FLASHWATCH_READ_LINE_DISPLAY_H

#include <functional>
#include <ostream>
#include <string>
#include <utility>

#include "machine/flashwatch_read/display_if.h"

namespace flashwatch_read {

/// Writes one reading after the other, each as the text that `text_of` makes of it, and troubles elsewhere: for files,
/// pipes and other programs.
class Line_display final : public Display_if {
 public:
  using Text_of = std::function<std::string(Overview const&)>;
  /// Both streams outlive the display.
  Line_display(std::ostream& readings, std::ostream& troubles, Text_of text_of)
      : readings_{readings}, troubles_{troubles}, text_of_{std::move(text_of)} {}

  void show(Overview const& overview) override;
  void show_trouble(std::string const& text) override;

 private:
  std::ostream& readings_;
  std::ostream& troubles_;
  Text_of text_of_;
};

}  // namespace flashwatch_read

#endif
