// SPDX-License-Identifier: Apache-2.0
#include "platform/src/log/nonblocking_output.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace linux_platform::log {

namespace {

constexpr int first_own_descriptor = 3;

// A write that meets a closed pipe raises SIGPIPE for this thread; it is held back and taken away again.
ssize_t write_without_signal(int descriptor, std::string_view bytes) noexcept {
  sigset_t pipe_signal{};
  sigset_t before{};
  sigset_t pending{};
  sigemptyset(&pipe_signal);
  sigaddset(&pipe_signal, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipe_signal, &before);
  sigpending(&pending);
  auto const written = ::write(descriptor, bytes.data(), bytes.size());
  if (written < 0 && errno == EPIPE && sigismember(&pending, SIGPIPE) == 0) {
    timespec const no_wait{};
    sigtimedwait(&pipe_signal, nullptr, &no_wait);
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return written;
}

ssize_t write_if_ready(int descriptor, std::string_view bytes) noexcept {
  pollfd ready{descriptor, POLLOUT, 0};
  if (poll(&ready, 1, 0) != 1 || (ready.revents & POLLOUT) == 0) {
    return -1;
  }
  return write_without_signal(descriptor, bytes);
}

int open_again(int descriptor) noexcept {
  char path[] = "/proc/self/fd/0000000000";  // NOLINT(modernize-avoid-c-arrays): room for the number
  (void)snprintf(path, sizeof path, "/proc/self/fd/%d", descriptor);
  return open(path, O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

}  // namespace

Nonblocking_output::Nonblocking_output(int inherited) noexcept {
  struct stat status {};
  if (fstat(inherited, &status) != 0) {
    return;
  }
  bool const may_block = S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode);
  if (may_block) {
    descriptor_ = open_again(inherited);
    kind_ = Kind::nonblocking;
  }
  if (descriptor_ < 0) {
    descriptor_ = fcntl(inherited, F_DUPFD_CLOEXEC, first_own_descriptor);
    kind_ = may_block ? Kind::polled : S_ISSOCK(status.st_mode) ? Kind::socket : Kind::plain;
  }
  if (descriptor_ < 0) {
    kind_ = Kind::closed;
  }
}

Nonblocking_output::~Nonblocking_output() {
  if (descriptor_ >= 0) {
    close(descriptor_);
  }
}

std::size_t Nonblocking_output::write(std::string_view bytes) const noexcept {
  ssize_t written = -1;
  switch (kind_) {
    case Kind::closed:
      break;
    case Kind::nonblocking:
    case Kind::plain:
      written = write_without_signal(descriptor_, bytes);
      break;
    case Kind::polled:
      written = write_if_ready(descriptor_, bytes);
      break;
    case Kind::socket:
      written = send(descriptor_, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
      break;
  }
  return written < 0 ? 0 : static_cast<std::size_t>(written);
}

}  // namespace linux_platform::log
