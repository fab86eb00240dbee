// SPDX-License-Identifier: Apache-2.0
#include "machine/sample_applications/stop_signals.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <system_error>

namespace sample_applications {

Stop_signals::Stop_signals() {
  sigemptyset(&signals_);
  sigaddset(&signals_, SIGTERM);
  sigaddset(&signals_, SIGINT);
  int const error = pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
  if (error != 0) {
    throw std::system_error(error, std::generic_category(), "cannot block SIGTERM and SIGINT");
  }
}

bool Stop_signals::arrive_before(std::chrono::steady_clock::time_point end) const {
  using std::chrono::nanoseconds;
  using std::chrono::seconds;

  while (true) {
    auto const left = std::max(nanoseconds(0), nanoseconds(end - std::chrono::steady_clock::now()));
    auto const whole = std::chrono::duration_cast<seconds>(left);
    timespec const timeout{static_cast<time_t>(whole.count()), static_cast<long>((left - whole).count())};
    if (sigtimedwait(&signals_, nullptr, &timeout) > 0) {
      return true;
    }
    if (errno != EINTR) {
      return false;
    }
  }
}

}  // namespace sample_applications
