// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_PERSISTENCY_STATISTICS_TERMINATION_H
#define MACHINE_PERSISTENCY_STATISTICS_TERMINATION_H

namespace persistency_statistics {

/// Blocks all signals for the calling thread and those it starts later; those that tell of a fault of the program
/// itself keep their effect. To be called before any thread is started. std::system_error when it is refused.
void block_signals();

/// Waits, blocked signals in mind, for SIGTERM or SIGINT.
void wait_for_termination();

}  // namespace persistency_statistics

#endif
