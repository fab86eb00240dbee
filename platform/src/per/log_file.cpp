// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/log_file.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <unistd.h>

#include <sqlite3.h>

namespace linux_platform::per {
namespace {

/// In bytes; all of them are zero in a log that was never used.
constexpr int header_size = 32;
constexpr std::array<unsigned char, Log_file::block> zeros{};

}  // namespace

int Log_file::open_if_there() noexcept {
  if (access(path(), F_OK) != 0 && errno == ENOENT) {
    return SQLITE_OK;
  }
  if (auto const result = open(); result != SQLITE_OK) {
    return result;
  }
  std::array<unsigned char, header_size> header{};
  auto const result = Store_file::read(header.data(), header_size, 0);
  is_new_ = result == SQLITE_OK && header == std::array<unsigned char, header_size>{};
  return result == SQLITE_OK || result == SQLITE_IOERR_SHORT_READ ? Store_file::size(&size_) : result;
}

int Log_file::read(void* buffer, int size, std::int64_t offset) noexcept {
  if (is_open()) {
    return Store_file::read(buffer, size, offset);
  }
  std::memset(buffer, 0, static_cast<std::size_t>(size));
  return SQLITE_IOERR_SHORT_READ;
}

int Log_file::make() noexcept {
  if (auto const result = vfs().create(path()); result != SQLITE_OK) {
    return result;
  }
  is_new_ = true;
  is_name_new_ = true;
  return open();
}

int Log_file::write(void const* data, int size, std::int64_t offset) noexcept {
  if (!is_open()) {
    if (auto const result = make(); result != SQLITE_OK) {
      return result;
    }
  }
  if (auto const result = Store_file::write(data, size, offset); result != SQLITE_OK) {
    return result;
  }
  is_new_ = is_new_ && offset < header_size;
  if (auto const end = offset + size; end > size_) {
    size_ = end;
    fill_block(end);
  }
  return SQLITE_OK;
}

void Log_file::fill_block(std::int64_t end) noexcept {
  auto const missing = (block - end % block) % block;
  // A medium too full for the filling may still be good for what matters.
  if (missing != 0 && Store_file::write(zeros.data(), static_cast<int>(missing), end) == SQLITE_OK) {
    size_ = end + missing;
  }
}

int Log_file::sync() noexcept {
  if (!is_open() || is_new_) {
    return SQLITE_OK;
  }
  if (auto const result = Store_file::sync(); result != SQLITE_OK || !is_name_new_) {
    return result;
  }
  auto const result = vfs().sync_folder_of(path());
  is_name_new_ = result != SQLITE_OK;
  return result;
}

int Log_file::size(std::int64_t* size) noexcept {
  *size = size_;
  return SQLITE_OK;
}

}  // namespace linux_platform::per
