// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_SAMPLE_APPLICATIONS_STOP_SIGNALS_H
#define MACHINE_SAMPLE_APPLICATIONS_STOP_SIGNALS_H

#include <chrono>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): sigset_t and sigtimedwait are POSIX.

namespace sample_applications {

/// SIGTERM and SIGINT, blocked for the calling thread and those it starts later, and fetched instead of delivered: so
/// one that arrives during a sync waits until the sync is done. Made before any thread is started.
class Stop_signals {
 public:
  /// std::system_error when the signals cannot be blocked.
  Stop_signals();

  /// Waits until `end` or for one of the signals; true for a signal. Afterwards another wait would miss it.
  bool arrive_before(std::chrono::steady_clock::time_point end) const;

 private:
  sigset_t signals_{};
};

}  // namespace sample_applications

#endif
