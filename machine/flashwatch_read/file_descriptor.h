// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_FILE_DESCRIPTOR_H
#define MACHINE_FLASHWATCH_READ_FILE_DESCRIPTOR_H

#include <unistd.h>
#include <utility>

namespace flashwatch_read {

/// Owns a descriptor of the operating system; -1 is none.
class File_descriptor {
 public:
  explicit File_descriptor(int descriptor = -1) noexcept : descriptor_{descriptor} {}
  File_descriptor(File_descriptor&& other) noexcept : descriptor_{std::exchange(other.descriptor_, -1)} {}
  File_descriptor& operator=(File_descriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  File_descriptor(File_descriptor const&) = delete;
  File_descriptor& operator=(File_descriptor const&) = delete;
  ~File_descriptor() {
    if (descriptor_ >= 0) {
      ::close(descriptor_);
    }
  }

  int get() const noexcept { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace flashwatch_read

#endif
