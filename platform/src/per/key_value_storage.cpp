// SPDX-License-Identifier: Apache-2.0
#include "ara/per/key_value_storage.h"

#include <utility>

#include "platform/src/manifest/machine_manifest.h"
#include "platform/src/per/file_observer.h"
#include "platform/src/per/open_stores.h"
#include "platform/src/per/settings.h"
#include "platform/src/per/storage.h"

namespace ara::per {
namespace {

namespace platform = linux_platform::per;

std::shared_ptr<platform::Store> open_own(std::string const& name) {
  static platform::No_file_observer observer;
  auto const& manifest = linux_platform::manifest::Machine_manifest::of_this_process();
  auto const settings = platform::Per_settings::read(manifest.root().member("persistency"));
  return platform::Open_stores::of_this_process().open(settings, manifest.application_id(), name, observer);
}

}  // namespace

KeyValueStorageBase::KeyValueStorageBase(std::unique_ptr<Storage> storage) : storage_(std::move(storage)) {}
KeyValueStorageBase::~KeyValueStorageBase() = default;

std::vector<std::string> KeyValueStorageBase::GetAllKeys() const { return storage_->keys(); }
bool KeyValueStorageBase::HasKey(std::string const& key) const { return storage_->contains(key); }
KvsType KeyValueStorageBase::GetValue(std::string const& key) const { return storage_->value(key); }
void KeyValueStorageBase::SetValue(std::string const& key, KvsType const& value) { storage_->set(key, value); }
void KeyValueStorageBase::RemoveKey(std::string const& key) { storage_->remove(key); }
void KeyValueStorageBase::RemoveAllKeys() { storage_->remove_all(); }
void KeyValueStorageBase::SyncToStorage() { storage_->sync(); }

KeyValueStorage::KeyValueStorage(std::string const& name)
    : KeyValueStorageBase(std::make_unique<Storage>(open_own(name))) {}
KeyValueStorage::~KeyValueStorage() = default;

}  // namespace ara::per
