// SPDX-License-Identifier: Apache-2.0
// To be preloaded before libfaketime: that library moves the absolute times of timer descriptors with the wall clock,
// also of those that follow the monotonic clock. Boost.Asio asks for an absolute time just after the start of the
// monotonic clock when a timer is due at once; moved back by a year it is negative, the kernel refuses it, and the
// timer never fires.
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <unistd.h>

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the header's names are reserved
extern "C" int timerfd_settime(int descriptor, int flags, itimerspec const* value, itimerspec* previous) noexcept {
  return static_cast<int>(syscall(SYS_timerfd_settime, descriptor, flags, value, previous));
}
