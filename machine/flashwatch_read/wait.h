// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_WAIT_H
#define MACHINE_FLASHWATCH_READ_WAIT_H

#include "machine/flashwatch_read/byte_stream_if.h"

namespace flashwatch_read {

/// Waits until one of `events` (as in poll(2)) is there on `descriptor`: true, or the deadline passes: false. Throws
/// Stop_requested as soon as `stop` is readable. Either descriptor may be -1. Throws std::system_error when the
/// operating system cannot wait.
bool wait_for(int descriptor, short events, int stop, Deadline deadline);

}  // namespace flashwatch_read

#endif
