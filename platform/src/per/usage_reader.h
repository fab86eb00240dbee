// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_USAGE_READER_H
#define PLATFORM_SRC_PER_USAGE_READER_H

#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "platform/src/per/settings.h"
#include "platform/src/per/usage.h"
#include "platform/src/per/usage_file.h"

namespace linux_platform::per {

/// What an application did with all its storages together.
struct Application_usage {
  std::string application_id;
  /// Since the application's process opened its first storage; of the last process when none runs.
  Usage session;
  /// Since the storages were made.
  Usage total;
};

/// Reads the usage of every application of the machine, for the statistics service.
///
/// A store is opened once, when it is first seen, to read the totals in it, and closed again; from then on its shared
/// counters in the run directory say everything. A store that its application has open is not opened at all: its
/// counters already hold its totals. Counters that are damaged, or behind the store, are a finding, and what the store
/// held when it was opened counts instead. Nothing is written, and no file stays open between two readings. Nothing an
/// application does to its files can stop or crash a reading, or cost it much time or memory. Used by one thread at a
/// time.
class Usage_reader {
 public:
  explicit Usage_reader(Per_settings settings);

  struct Reading {
    /// Every application that has a storage under the root, damaged ones included, in the order of their ids.
    std::vector<Application_usage> applications;
    /// What was found wrong since the last reading: one text for each storage or folder, not repeated while it stays.
    std::vector<std::string> findings;
  };

  /// May block for as long as the medium takes, never for a lock. std::system_error when it would not be the whole
  /// truth for another reason than what an application did: the root cannot be read, or the process is short of
  /// descriptors or memory.
  Reading read();

 private:
  struct Storage {
    ino_t file_number = 0;
    bool examined = false;
    bool seen = false;
    std::uint64_t store_id = 0;
    /// Counters of this store were there when it was examined, though it is another one; 0 when none were.
    std::uint64_t foreign_id = 0;
    Usage stored;
  };

  void read_application(std::string const& folder_name, Reading& reading);
  void read_storage(std::string const& folder, std::string const& file_name, Application_usage& application,
                    Reading& reading);
  void look_again(std::string const& file, Usage_file const& counters, Storage& storage, Reading& reading);
  void examine(std::string const& file, Storage& storage, Reading& reading);
  void report(std::string const& place, std::string const& finding, Reading& reading);
  void forget_what_is_gone();

  Per_settings const settings_;
  /// By the path of the store's file.
  std::map<std::string, Storage> storages_;
  struct Finding {
    std::string text;
    bool seen = false;
  };
  /// By the path they are about.
  std::map<std::string, Finding> findings_;
};

}  // namespace linux_platform::per

#endif
