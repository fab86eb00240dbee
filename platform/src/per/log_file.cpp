// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/log_file.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace linux_platform::per {
namespace {

/// A log whose first bytes are zero is empty.
constexpr int header_size = 32;
/// The block of the file systems and of the flash translation below them, in bytes.
constexpr sqlite3_int64 block = 4096;
constexpr std::array<unsigned char, block> zeros{};

/// The default VFS gives a file of type "log" the owner of the store each time it opens it as root, which costs the
/// medium a block. A file of another type it leaves alone, and this one got its owner when it was made.
int base_flags(int flags) { return (flags & ~(SQLITE_OPEN_WAL | SQLITE_OPEN_CREATE)) | SQLITE_OPEN_SUPER_JOURNAL; }

int read_only(int flags) { return (flags & ~SQLITE_OPEN_READWRITE) | SQLITE_OPEN_READONLY; }

}  // namespace

int Log_file::open(int flags, int* flags_out) {
  auto const reader = vfs().access() == Store_vfs::Access::read_only;
  flags_ = base_flags(reader ? read_only(flags) : flags);
  if (flags_out != nullptr) {
    *flags_out = flags_;
  }
  int there = 0;
  if (auto const result = vfs().base().xAccess(&vfs().base(), name(), SQLITE_ACCESS_EXISTS, &there);
      result != SQLITE_OK || there == 0) {
    return result;
  }
  if (auto const result = open_base(flags_, flags_out); result != SQLITE_OK) {
    return result;
  }
  return learn_size();
}

int Log_file::learn_size() noexcept {
  if (auto const result = Store_file::size(&physical_size_); result != SQLITE_OK || physical_size_ < header_size) {
    return result;
  }
  std::array<unsigned char, header_size> header{};
  auto const result = Store_file::read(header.data(), header_size, 0);
  has_header_ = std::any_of(header.begin(), header.end(), [](unsigned char byte) { return byte != 0; });
  return result;
}

int Log_file::read(void* buffer, int size, sqlite3_int64 offset) noexcept {
  if (is_open()) {
    return Store_file::read(buffer, size, offset);
  }
  std::memset(buffer, 0, static_cast<std::size_t>(size));
  return SQLITE_IOERR_SHORT_READ;
}

int Log_file::make() {
  if (auto const result = vfs().create(name()); result != SQLITE_OK) {
    return result;
  }
  // SQLITE_OPEN_CREATE makes the default VFS write the directory to the medium with the file's first sync.
  return open_base(flags_ | SQLITE_OPEN_CREATE, nullptr);
}

int Log_file::write(void const* data, int size, sqlite3_int64 offset) noexcept {
  if (!is_open()) {
    if (auto const result = make(); result != SQLITE_OK) {
      return result;
    }
  }
  if (auto const result = Store_file::write(data, size, offset); result != SQLITE_OK) {
    return result;
  }
  has_header_ = has_header_ || offset < header_size;
  if (auto const end = offset + size; end > physical_size_) {
    physical_size_ = end;
    fill_block(end);
  }
  return SQLITE_OK;
}

void Log_file::fill_block(sqlite3_int64 end) noexcept {
  auto const missing = (block - end % block) % block;
  // A medium too full for the filling may still be good for what matters.
  if (missing != 0 && Store_file::write(zeros.data(), static_cast<int>(missing), end) == SQLITE_OK) {
    physical_size_ = end + missing;
  }
}

int Log_file::truncate(sqlite3_int64 size) noexcept {
  // What follows the frames in use carries an older salt, and nobody reads it.
  if (size != 0 || !has_header_) {
    return SQLITE_OK;
  }
  auto const result = Store_file::write(zeros.data(), header_size, 0);
  has_header_ = result != SQLITE_OK;
  return result;
}

int Log_file::size(sqlite3_int64* size) noexcept {
  *size = has_header_ ? physical_size_ : 0;
  return SQLITE_OK;
}

}  // namespace linux_platform::per
