// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_FUZZ_MEMORY_FILE_H
#define TESTS_FUZZ_MEMORY_FILE_H

#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include "tests/fuzz/fuzz.h"

namespace fuzz {

/// A regular file in memory, for readers that want a path or a descriptor.
class Memory_file {
 public:
  Memory_file(void const* data, std::size_t size) : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)) {
    require(write(descriptor_, data, size) == static_cast<ssize_t>(size), "a file in memory takes the input");
  }
  ~Memory_file() { close(descriptor_); }
  Memory_file(Memory_file const&) = delete;
  Memory_file& operator=(Memory_file const&) = delete;

  int descriptor() const noexcept { return descriptor_; }
  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

}  // namespace fuzz

#endif
