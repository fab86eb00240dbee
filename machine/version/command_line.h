// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_VERSION_COMMAND_LINE_H
#define MACHINE_VERSION_COMMAND_LINE_H

#include <optional>

namespace machine::version {

/// For a program that knows no argument but --version. Nothing when there is none and the program shall go on;
/// otherwise the exit code to end with: 0 with the version printed, 2 with a line on standard error.
std::optional<int> answer_command_line(int count, char const* const* arguments);

}  // namespace machine::version

#endif
