// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/storage.h"

#include <set>
#include <utility>

#include "platform/src/per/kvs_type_access.h"

namespace ara::per {

KeyValueStorageBase::Storage::Storage(std::shared_ptr<linux_platform::per::Store> store) : store_(std::move(store)) {}

std::vector<std::string> KeyValueStorageBase::Storage::keys() const {
  auto const stored = staged_.clear ? std::vector<std::string>{} : store_->keys();
  std::set<std::string> keys(stored.begin(), stored.end());
  for (auto const& [key, value] : staged_.values) {
    if (value) {
      keys.insert(key);
    } else {
      keys.erase(key);
    }
  }
  return {keys.begin(), keys.end()};
}

bool KeyValueStorageBase::Storage::contains(std::string const& key) const {
  if (auto const staged = staged_.values.find(key); staged != staged_.values.end()) {
    return staged->second.has_value();
  }
  return !staged_.clear && store_->contains(key);
}

KvsType KeyValueStorageBase::Storage::value(std::string const& key) const {
  auto const staged = staged_.values.find(key);
  auto value = staged != staged_.values.end() ? staged->second : staged_.clear ? std::nullopt : store_->value(key);
  if (!value) {
    throw ExceptionLogicError(store_->subject(key) + "there is no such key");
  }
  store_->count_read(*value);
  return std::move(*value);
}

void KeyValueStorageBase::Storage::set(std::string const& key, KvsType const& value) {
  if (auto const* const damage = std::get_if<Kvs_type_access::Damage>(&Kvs_type_access::content(value))) {
    throw ExceptionLogicError(store_->subject(key) + "a damaged value cannot be set: " + damage->finding);
  }
  store_->count_set();
  staged_.values.insert_or_assign(key, value);
}

void KeyValueStorageBase::Storage::remove(std::string const& key) {
  staged_.values.insert_or_assign(key, std::nullopt);
}

void KeyValueStorageBase::Storage::remove_all() {
  staged_.clear = true;
  staged_.values.clear();
}

void KeyValueStorageBase::Storage::sync() {
  if (!staged_.empty()) {
    store_->commit(staged_);
    staged_ = {};
  }
}

}  // namespace ara::per
