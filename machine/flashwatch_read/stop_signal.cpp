// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/stop_signal.h"

#include <cerrno>
#include <csignal>
#include <sys/signalfd.h>
#include <system_error>

#include "machine/flashwatch_read/wait.h"

namespace flashwatch_read {

Stop_signal::Stop_signal() {
  sigset_t signals{};
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGHUP);
  if (sigprocmask(SIG_BLOCK, &signals, nullptr) != 0) {
    throw std::system_error{errno, std::generic_category(), "blocking signals"};
  }
  signals_ = File_descriptor{signalfd(-1, &signals, SFD_CLOEXEC)};
  if (signals_.get() < 0) {
    throw std::system_error{errno, std::generic_category(), "signalfd"};
  }
}

void Stop_signal::wait_until(Deadline deadline) const { wait_for(-1, 0, descriptor(), deadline); }

}  // namespace flashwatch_read
