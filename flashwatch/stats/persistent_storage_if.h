// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_STATS_PERSISTENT_STORAGE_IF_H
#define FLASHWATCH_STATS_PERSISTENT_STORAGE_IF_H

#include <cstdint>
#include <optional>
#include <string>

#include "flashwatch/stats/limits.h"

namespace orvel::flashwatch::diagnostics {

/// The bookkeeping that outlives the process: one record for each application id, which is the key. Used by one thread
/// at a time. Failures of decoding, writing and flushing are logged and swallowed.
class Persistent_storage_if {
 public:
  struct Entry {
    std::int64_t time_of_first_use = 0;  ///< seconds since the epoch
    Limits limits;                       ///< the budget of all completed years of use
    std::uint32_t years_in_use = 0;      ///< the year of use, from 1, when the record was written
  };

  virtual ~Persistent_storage_if() = default;
  Persistent_storage_if(Persistent_storage_if const&) = delete;
  Persistent_storage_if& operator=(Persistent_storage_if const&) = delete;

  /// Absent when there is no record, or one that cannot be decoded. A storage that cannot be asked ends the process.
  virtual std::optional<Entry> read(std::string const& key) const noexcept = 0;

  /// Writes a record for a key that has none; a key that has one is a warning and nothing more. Throws what the
  /// platform throws when asked whether the key exists.
  virtual void create(std::string const& key, Entry const& entry) = 0;

  /// Overwrites the record of a key that has one; a key that has none is a warning and nothing more. Throws as
  /// create().
  virtual void update(std::string const& key, Entry const& entry) = 0;

  /// Flushes what was written to the medium; may block for as long as the medium takes.
  virtual void sync_to_storage() = 0;

 protected:
  Persistent_storage_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
