// SPDX-License-Identifier: Apache-2.0
#include "machine/persistency_statistics/termination.h"

#include <signal.h>  // NOLINT(modernize-deprecated-headers): sigset_t and sigwait are POSIX.
#include <system_error>

namespace persistency_statistics {

void block_signals() {
  sigset_t signals;
  sigfillset(&signals);
  for (int const fault : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP}) {
    sigdelset(&signals, fault);
  }
  if (int const error = pthread_sigmask(SIG_BLOCK, &signals, nullptr)) {
    throw std::system_error(error, std::generic_category(), "cannot block the signals");
  }
}

void wait_for_termination() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  int signal = 0;
  while (sigwait(&signals, &signal) != 0) {
  }
}

}  // namespace persistency_statistics
