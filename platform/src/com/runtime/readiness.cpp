// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/runtime/readiness.h"

#include <cerrno>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace linux_platform::com {
namespace {

constexpr std::uint64_t end_id = 0;
constexpr std::uint32_t signs = EPOLLIN | EPOLLOUT | EPOLLRDHUP | EPOLLET;

int checked(int result, char const* what) {
  if (result < 0) {
    throw std::system_error(errno, std::generic_category(), what);
  }
  return result;
}

void control(int epoll, int operation, int descriptor, std::uint32_t events, std::uint64_t id) {
  epoll_event event{};
  event.events = events;
  event.data.u64 = id;
  checked(::epoll_ctl(epoll, operation, descriptor, &event), "epoll_ctl");
}

}  // namespace

Readiness::Readiness() : epoll_(checked(::epoll_create1(EPOLL_CLOEXEC), "epoll_create1")) {
  try {
    end_ = checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd");
    // Level-triggered and never read, so that every wait ends.
    control(epoll_, EPOLL_CTL_ADD, end_, EPOLLIN, end_id);
  } catch (...) {
    ::close(end_);
    ::close(epoll_);
    throw;
  }
}

Readiness::~Readiness() {
  ::close(end_);
  ::close(epoll_);
}

void Readiness::add(int descriptor, std::uint64_t id) { control(epoll_, EPOLL_CTL_ADD, descriptor, signs, id); }

void Readiness::call_for(int descriptor, std::uint64_t id) noexcept {
  epoll_event event{};
  event.events = signs;
  event.data.u64 = id;
  // Setting what is set already looks at the descriptor anew. It cannot fail while the descriptor is watched.
  static_cast<void>(::epoll_ctl(epoll_, EPOLL_CTL_MOD, descriptor, &event));
}

void Readiness::remove(int descriptor) noexcept {
  static_cast<void>(::epoll_ctl(epoll_, EPOLL_CTL_DEL, descriptor, nullptr));
}

std::optional<Readiness::Sign> Readiness::wait() noexcept {
  epoll_event event{};
  int const ready = ::epoll_wait(epoll_, &event, 1, -1);
  Sign const sign{event.data.u64, (event.events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0};
  return ready > 0 && sign.id != end_id ? std::optional(sign) : std::nullopt;
}

void Readiness::end() noexcept {
  std::uint64_t const one = 1;
  [[maybe_unused]] auto const written = ::write(end_, &one, sizeof one);
}

}  // namespace linux_platform::com
