// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_PRINTABLE_H
#define MACHINE_FLASHWATCH_READ_PRINTABLE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace flashwatch_read {

// Text that came from outside, made fit for a terminal. The rules are fixed here and do not depend on the locale.

/// The same text with everything that could steer a terminal or hide itself written out: control characters,
/// characters that turn the writing direction, invisible ones (as \u{1B}) and bytes that are no UTF-8 (as \x80).
std::string printable(std::string_view text);

/// The terminal cells that printable UTF-8 takes: two for East Asian wide characters and pictographs, none for
/// combining ones.
std::size_t cells(std::string_view text) noexcept;

/// The text if it fits into `width` cells, otherwise as many whole characters as fit before the mark "~".
std::string cut_to(std::string_view text, std::size_t width);

/// Breaks text at blanks into lines of at most `width` cells; a longer word gets a line of its own.
std::vector<std::string> wrap(std::string_view text, std::size_t width);

}  // namespace flashwatch_read

#endif
