// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/open_stores.h"

#include "platform/src/per/usage_counters.h"

namespace linux_platform::per {

Open_stores& Open_stores::of_this_process() {
  static Open_stores stores;
  return stores;
}

std::shared_ptr<Store> Open_stores::open(Per_settings const& settings, std::string const& application,
                                         std::string const& storage, File_observer& observer) {
  auto place = Store_place::of(settings, application, storage);
  std::lock_guard const lock(mutex_);
  auto& known = stores_[place.file];
  if (auto store = known.lock()) {
    return store;
  }
  if (sessions_.count(place.counters_folder) == 0) {
    Usage_counters::end_sessions(place.counters_folder);
    sessions_.insert(place.counters_folder);
  }
  auto store = std::make_shared<Store>(settings, std::move(place), observer);
  known = store;
  return store;
}

}  // namespace linux_platform::per
