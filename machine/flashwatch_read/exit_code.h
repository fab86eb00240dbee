// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_EXIT_CODE_H
#define MACHINE_FLASHWATCH_READ_EXIT_CODE_H

namespace flashwatch_read {

/// What the program tells the one that called it.
enum class Exit_code : int { fine = 0, could_not_read = 1, usage_error = 2, budget_exceeded = 3 };

}  // namespace flashwatch_read

#endif
