// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_MANIFEST_OWN_ENTRY_H
#define PLATFORM_SRC_MANIFEST_OWN_ENTRY_H

#include <string>

namespace linux_platform::manifest {

/// Where a process finds its manifest when ARA_MACHINE_MANIFEST is unset or empty.
constexpr char const* default_manifest_file = "/etc/ara/machine.json";

/// The file and the entry that are this process's own.
struct Own_entry {
  std::string file;
  std::string process;
  /// How the process's name was found, as a phrase for errors.
  std::string origin;
};

/// From ARA_MACHINE_MANIFEST and ARA_PROCESS (either counts as unset when empty), else the default file and the
/// executable's file name. Manifest_error when that name cannot be found out.
Own_entry own_entry();

}  // namespace linux_platform::manifest

#endif
