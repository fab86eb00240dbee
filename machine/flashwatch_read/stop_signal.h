// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_STOP_SIGNAL_H
#define MACHINE_FLASHWATCH_READ_STOP_SIGNAL_H

#include "machine/flashwatch_read/byte_stream_if.h"
#include "machine/flashwatch_read/file_descriptor.h"

namespace flashwatch_read {

/// SIGINT, SIGTERM and SIGHUP, taken from a descriptor so that every wait ends with them and a terminal can be put
/// right before the program ends. One object at most, made while there is a single thread; the signals stay blocked
/// after it.
class Stop_signal {
 public:
  /// From now on the three signals no longer end the process. Throws std::system_error.
  Stop_signal();

  /// Readable from the first signal on; it is never read.
  int descriptor() const noexcept { return signals_.get(); }
  /// Returns at the deadline; throws Stop_requested as soon as a signal has come.
  void wait_until(Deadline deadline) const;

 private:
  File_descriptor signals_;
};

}  // namespace flashwatch_read

#endif
