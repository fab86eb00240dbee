// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <utility>

#include "ara/per/key_value_storage.h"
#include "tests/scripted_platform/script.h"

namespace ara::per {

class KeyValueStorageBase::Storage {};

KeyValueStorageBase::KeyValueStorageBase(std::unique_ptr<Storage> storage) : storage_(std::move(storage)) {}
KeyValueStorageBase::~KeyValueStorageBase() = default;

KeyValueStorage::KeyValueStorage(std::string const& name) : KeyValueStorageBase(std::make_unique<Storage>()) {
  script::call("per.KeyValueStorage", name);
}
KeyValueStorage::~KeyValueStorage() { script::note("per.~KeyValueStorage()"); }

bool KeyValueStorageBase::HasKey(std::string const& key) const {
  script::call("per.HasKey", key);
  return script::answers().stored.count(key) != 0;
}

KvsType KeyValueStorageBase::GetValue(std::string const& key) const {
  script::call("per.GetValue", key);
  return script::answers().stored.at(key);
}

void KeyValueStorageBase::SetValue(std::string const& key, KvsType const& value) {
  script::call("per.SetValue", key);
  script::answers().stored.insert_or_assign(key, value);
}

void KeyValueStorageBase::SyncToStorage() { script::call("per.SyncToStorage"); }

KvsType::KvsType(void const* data, std::size_t size)
    : content_(std::vector<std::uint8_t>(static_cast<std::uint8_t const*>(data),
                                         static_cast<std::uint8_t const*>(data) + size)) {}

std::vector<std::uint8_t> KvsType::GetBinary() const { return std::get<std::vector<std::uint8_t>>(content_); }

void KvsType::GetBinary(void* buffer, std::size_t size) const {
  script::call("per.GetBinary");
  auto const bytes = GetBinary();
  if (bytes.size() != size) {
    throw ExceptionLogicError("another size");
  }
  std::copy(bytes.begin(), bytes.end(), static_cast<std::uint8_t*>(buffer));
}

}  // namespace ara::per
