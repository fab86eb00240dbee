// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_BLOCKED_SIGNALS_H
#define PLATFORM_SRC_LOG_BLOCKED_SIGNALS_H

#include <csignal>

namespace linux_platform::log {

/// Blocks all signals for the calling thread while it lives, then restores the mask. Threads started meanwhile inherit
/// the blocked mask, so that none of them ever takes a signal meant for the main thread.
class Blocked_signals {
 public:
  Blocked_signals() noexcept {
    sigset_t all{};
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~Blocked_signals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  Blocked_signals(Blocked_signals const&) = delete;
  Blocked_signals& operator=(Blocked_signals const&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace linux_platform::log

#endif
