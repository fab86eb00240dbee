// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_STATS_PERSISTENT_STORAGE_H
#define FLASHWATCH_STATS_PERSISTENT_STORAGE_H

#include <optional>
#include <string>

#include "ara/per/key_value_storage.h"
#include "flashwatch/stats/persistent_storage_if.h"

namespace orvel::flashwatch::diagnostics {

/// The records in the platform's key-value storage "flashwatch_BkupByEmBoot". Destruction closes without flushing.
class Persistent_storage final : public Persistent_storage_if {
 public:
  /// Throws what the platform throws when the storage cannot be opened.
  Persistent_storage();

  std::optional<Entry> read(std::string const& key) const noexcept override;
  void create(std::string const& key, Entry const& entry) override;
  void update(std::string const& key, Entry const& entry) override;
  void sync_to_storage() override;

 private:
  void write(std::string const& key, Entry const& entry);

  /// Set by the first successful write and never cleared: every sync after it flushes.
  bool written_ = false;
  ara::per::KeyValueStorage storage_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
