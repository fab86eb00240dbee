// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_OPEN_STORES_H
#define PLATFORM_SRC_PER_OPEN_STORES_H

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "platform/src/per/file_observer.h"
#include "platform/src/per/settings.h"
#include "platform/src/per/store.h"

namespace linux_platform::per {

/// The stores that a process has open: a storage that is opened several times is one store, as its file is locked for
/// one. Also where the process's session of an application begins: with the first storage it opens. Safe from any
/// thread.
class Open_stores {
 public:
  /// The one of this process. Locks on files are the process's, so what it has open is too.
  static Open_stores& of_this_process();

  /// The store, opened if it is not open. The observer outlives it; the first opener's counts.
  std::shared_ptr<Store> open(Per_settings const& settings, std::string const& application, std::string const& storage,
                              File_observer& observer);

 private:
  std::mutex mutex_;
  std::map<std::string, std::weak_ptr<Store>> stores_;
  /// Folders of counters of the applications whose session has begun.
  std::set<std::string> sessions_;
};

}  // namespace linux_platform::per

#endif
