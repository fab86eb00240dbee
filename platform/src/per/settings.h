// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_SETTINGS_H
#define PLATFORM_SRC_PER_SETTINGS_H

#include <chrono>
#include <optional>
#include <string>

#include "platform/src/manifest/node.h"

namespace linux_platform::per {

/// The manifest's part "persistency", as far as the store needs it; the budgets beside it belong to the statistics
/// service.
struct Per_settings {
  /// Member "root": the directory on flash under which every application has a folder of its own. Must exist.
  std::string root;
  /// Member "run_directory": the directory on a memory file system where the usage counters are shared. Must exist.
  std::string run_directory;
  /// Member "group", optional: the group that may read stores and counters. Without it only the owner reads stores.
  std::optional<std::string> group;
  /// Member "lock_wait_ms", 0 to 60000: how long opening waits for a storage that another process holds.
  std::chrono::milliseconds lock_wait{1000};

  /// Manifest_error names what is wrong.
  static Per_settings read(manifest::Node const& persistency);
};

}  // namespace linux_platform::per

#endif
