// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_DESCRIPTOR_H
#define PLATFORM_SRC_PER_DESCRIPTOR_H

#include <unistd.h>
#include <utility>

namespace linux_platform::per {

/// Owns a file descriptor, or none.
class Descriptor {
 public:
  Descriptor() noexcept = default;
  explicit Descriptor(int number) noexcept : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  Descriptor(Descriptor const&) = delete;
  Descriptor& operator=(Descriptor const&) = delete;
  ~Descriptor() {
    if (number_ >= 0) {
      close(number_);
    }
  }

  explicit operator bool() const noexcept { return number_ >= 0; }
  int get() const noexcept { return number_; }

 private:
  int number_ = -1;
};

}  // namespace linux_platform::per

#endif
