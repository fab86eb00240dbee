// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/mapped_words.h"

#include <cerrno>
#include <sys/mman.h>
#include <system_error>

namespace linux_platform::per {
namespace {

void* mapped(int descriptor, std::size_t size) {
  void* const start = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  if (start == MAP_FAILED) {
    throw std::system_error(errno, std::generic_category(), "mmap");
  }
  return start;
}

}  // namespace

Mapped_words::Mapped_words(int descriptor, std::size_t count)
    : size_(count * sizeof(Word)), words_(static_cast<Word*>(mapped(descriptor, size_))) {}

Mapped_words::~Mapped_words() { ::munmap(words_, size_); }

}  // namespace linux_platform::per
