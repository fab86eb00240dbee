// SPDX-License-Identifier: Apache-2.0
#ifndef ARA_PER_KEY_VALUE_STORAGE_H
#define ARA_PER_KEY_VALUE_STORAGE_H

#include <memory>
#include <string>
#include <vector>

#include "ara/per/exceptions.h"
#include "ara/per/kvs_type.h"

namespace ara::per {

/// The operations of a key-value storage. Any text is a key: empty, long, with NUL in it.
///
/// Writes are staged in memory, and reads see what is staged. SyncToStorage commits everything staged in one durable
/// transaction: a crash or a power cut at any instant leaves the state before or after it. A sync that fails keeps
/// everything staged for the next one. Closing without a sync drops what is staged.
///
/// Used by one thread at a time. Every operation may throw ExceptionPhysicalStorageError (text: storage, key, cause);
/// none throws for a value that is damaged or of another type: see KvsType.
class KeyValueStorageBase {
 public:
  virtual ~KeyValueStorageBase();
  KeyValueStorageBase(KeyValueStorageBase const&) = delete;
  KeyValueStorageBase& operator=(KeyValueStorageBase const&) = delete;

  std::vector<std::string> GetAllKeys() const;
  bool HasKey(std::string const& key) const;
  /// ExceptionLogicError when there is no such key.
  KvsType GetValue(std::string const& key) const;
  void SetValue(std::string const& key, KvsType const& value);
  /// Nothing happens when there is no such key.
  void RemoveKey(std::string const& key);
  void RemoveAllKeys();
  /// May block for as long as the medium takes.
  void SyncToStorage();

  class Storage;

 protected:
  explicit KeyValueStorageBase(std::unique_ptr<Storage> storage);

 private:
  std::unique_ptr<Storage> storage_;
};

/// The storage `name` of this process's application, opened and made if need be.
class KeyValueStorage final : public KeyValueStorageBase {
 public:
  /// ExceptionStorageLocationNotFound when the persistency root is missing or closed to the process;
  /// ExceptionPhysicalStorageError when the file is damaged, foreign or in use by another process, with the file left
  /// as it is; ExceptionLogicError for a name that is empty.
  explicit KeyValueStorage(std::string const& name);
  ~KeyValueStorage() override;
};

}  // namespace ara::per

#endif
