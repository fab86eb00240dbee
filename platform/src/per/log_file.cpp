// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/log_file.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <sqlite3.h>

namespace linux_platform::per {
namespace {

/// A log whose header is zero is empty.
constexpr int header_size = 32;
/// The block of the file systems and of the flash translation below them, in bytes.
constexpr std::int64_t block = 4096;
constexpr std::array<unsigned char, block> zeros{};

}  // namespace

int Log_file::open_if_there() noexcept {
  if (access(path(), F_OK) != 0 && errno == ENOENT) {
    return SQLITE_OK;
  }
  auto const result = open();
  return result == SQLITE_OK ? learn_size() : result;
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
  has_header_ = has_header_ || offset < header_size;
  is_new_ = is_new_ && offset < header_size;
  if (auto const end = offset + size; end > physical_size_) {
    physical_size_ = end;
    fill_block(end);
  }
  return SQLITE_OK;
}

void Log_file::fill_block(std::int64_t end) noexcept {
  auto const missing = (block - end % block) % block;
  // A medium too full for the filling may still be good for what matters.
  if (missing != 0 && Store_file::write(zeros.data(), static_cast<int>(missing), end) == SQLITE_OK) {
    physical_size_ = end + missing;
  }
}

int Log_file::truncate(std::int64_t size) noexcept {
  // What follows the frames in use carries an older salt, and nobody reads it.
  if (size != 0 || !has_header_) {
    return SQLITE_OK;
  }
  auto const result = Store_file::write(zeros.data(), header_size, 0);
  has_header_ = result != SQLITE_OK;
  return result;
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
  *size = has_header_ ? physical_size_ : 0;
  return SQLITE_OK;
}

}  // namespace linux_platform::per
