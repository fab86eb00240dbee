// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_STORE_H
#define PLATFORM_SRC_PER_STORE_H

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ara/per/kvs_type.h"
#include "platform/src/per/changes.h"
#include "platform/src/per/database.h"
#include "platform/src/per/file_observer.h"
#include "platform/src/per/settings.h"
#include "platform/src/per/store_vfs.h"
#include "platform/src/per/usage_counters.h"

namespace linux_platform::per {

/// Where a storage lives.
struct Store_place {
  std::string application;
  std::string storage;
  std::string folder;
  std::string file;
  std::string counters_folder;
  std::string counters_file;

  /// ExceptionLogicError when one of the names is too long for a file name or the storage's is empty.
  static Store_place of(Per_settings const& settings, std::string const& application, std::string const& storage);
};

/// One storage, open: what every KeyValueStorage of the process on it has in common. Safe from any thread.
///
/// Exceptions are those of KeyValueStorageBase, with texts that name the storage, and the key where there is one.
class Store {
 public:
  /// Opens the storage, and makes it if it is not there. The observer outlives the object.
  Store(Per_settings const& settings, Store_place place, File_observer& observer);

  std::vector<std::string> keys();
  bool contains(std::string const& key);
  /// The value of `key`, if there is one; a record that is damaged or cannot be read comes as a damaged value.
  std::optional<ara::per::KvsType> value(std::string const& key);
  void commit(Changes const& changes);

  void count_read(ara::per::KvsType const& value);
  void count_set();

  /// How every message about this storage begins.
  std::string subject() const;
  std::string subject(std::string const& key) const;

 private:
  void open(Per_settings const& settings, File_rights const& rights);
  void make_file();

  Store_place const place_;
  std::mutex mutex_;
  std::optional<Usage_counters> counters_;
  std::optional<Store_vfs> vfs_;
  std::optional<Database> database_;
  File_observer& observer_;
};

}  // namespace linux_platform::per

#endif
