// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/store_file.h"

#include <algorithm>
#include <new>

namespace linux_platform::per {

void Store_file::Free::operator()(sqlite3_file* file) const noexcept {
  if (file->pMethods != nullptr) {
    file->pMethods->xClose(file);
  }
  ::operator delete(file);
}

Store_file::Store_file(Store_vfs const& vfs, char const* name) : vfs_(vfs), name_(name) {}
Store_file::~Store_file() = default;

int Store_file::open_base(int flags, int* flags_out) noexcept {
  auto const size = std::max(static_cast<std::size_t>(vfs_.base().szOsFile), sizeof(sqlite3_file));
  void* const memory = ::operator new(size, std::nothrow);
  if (memory == nullptr) {
    return SQLITE_NOMEM;
  }
  std::fill_n(static_cast<unsigned char*>(memory), size, static_cast<unsigned char>(0));
  base_.reset(new (memory) sqlite3_file{});
  return vfs_.base().xOpen(&vfs_.base(), name_, base_.get(), flags, flags_out);
}

int Store_file::read(void* buffer, int size, sqlite3_int64 offset) noexcept {
  return base_->pMethods->xRead(base_.get(), buffer, size, offset);
}

int Store_file::write(void const* data, int size, sqlite3_int64 offset) noexcept {
  return vfs_.write(*base_, name_, data, size, offset);
}

int Store_file::truncate(sqlite3_int64 size) noexcept {
  sqlite3_int64 now = 0;
  // A checkpoint cuts the file to the length it has: on the medium that would be a change of its times.
  if (auto const result = this->size(&now); result != SQLITE_OK || now == size) {
    return result;
  }
  return vfs_.truncate(*base_, name_, size);
}

int Store_file::size(sqlite3_int64* size) noexcept { return base_->pMethods->xFileSize(base_.get(), size); }

int Store_file::sync(int flags) noexcept { return is_open() ? vfs_.sync(*base_, name_, flags) : SQLITE_OK; }

int Store_file::lock(int level) noexcept {
  // A write-ahead log without shared memory wants an exclusive lock even of a reader. A shared one serves: whoever
  // writes takes an exclusive one at open, so that neither gets in while the other is there.
  auto const wanted = vfs_.access() == Store_vfs::Access::read_only ? std::min(level, SQLITE_LOCK_SHARED) : level;
  return base_->pMethods->xLock(base_.get(), wanted);
}

int Store_file::unlock(int level) noexcept { return base_->pMethods->xUnlock(base_.get(), level); }

int Store_file::check_reserved_lock(int* held) noexcept {
  return base_->pMethods->xCheckReservedLock(base_.get(), held);
}

int Store_file::control(int operation, void* argument) noexcept {
  return is_open() ? base_->pMethods->xFileControl(base_.get(), operation, argument) : SQLITE_NOTFOUND;
}

int Store_file::sector_size() noexcept { return is_open() ? base_->pMethods->xSectorSize(base_.get()) : 0; }

int Store_file::characteristics() noexcept {
  return is_open() ? base_->pMethods->xDeviceCharacteristics(base_.get()) : SQLITE_IOCAP_POWERSAFE_OVERWRITE;
}

}  // namespace linux_platform::per
