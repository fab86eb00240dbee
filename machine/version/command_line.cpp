// SPDX-License-Identifier: Apache-2.0
#include "machine/version/command_line.h"

#include <cstdlib>
#include <iostream>
#include <string_view>

namespace machine::version {
namespace {

constexpr int usage_error = 2;

std::string_view file_name(std::string_view path) { return path.substr(path.find_last_of('/') + 1); }

}  // namespace

std::optional<int> answer_command_line(int count, char const* const* arguments) {
  if (count < 2) {
    return std::nullopt;
  }
  // NOLINTBEGIN(cppcoreguidelines-pro-bounds-pointer-arithmetic): main's own form of its arguments.
  auto const program = file_name(arguments[0]);
  std::string_view const argument = arguments[1];
  // NOLINTEND(cppcoreguidelines-pro-bounds-pointer-arithmetic)
  if (count > 2 || argument != "--version") {
    std::cerr << program << ": the only argument is --version\n";
    return usage_error;
  }
  std::cout << program << " " FLASHWATCH_VERSION "\n" << std::flush;
  if (!std::cout) {
    std::cerr << program << ": the version cannot be written to the standard output\n";
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}

}  // namespace machine::version
