// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_STORAGE_H
#define PLATFORM_SRC_PER_STORAGE_H

#include <memory>
#include <string>
#include <vector>

#include "ara/per/key_value_storage.h"
#include "platform/src/per/changes.h"
#include "platform/src/per/store.h"

namespace ara::per {

/// What one KeyValueStorage adds to the store: the changes staged through it. Used by one thread at a time.
class KeyValueStorageBase::Storage {
 public:
  explicit Storage(std::shared_ptr<linux_platform::per::Store> store);

  std::vector<std::string> keys() const;
  bool contains(std::string const& key) const;
  KvsType value(std::string const& key) const;
  void set(std::string const& key, KvsType const& value);
  void remove(std::string const& key);
  void remove_all();
  void sync();

 private:
  std::shared_ptr<linux_platform::per::Store> store_;
  linux_platform::per::Changes staged_;
};

}  // namespace ara::per

#endif
