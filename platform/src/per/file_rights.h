// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_FILE_RIGHTS_H
#define PLATFORM_SRC_PER_FILE_RIGHTS_H

#include <optional>
#include <string>
#include <sys/types.h>

#include "platform/src/per/settings.h"

namespace linux_platform::per {

/// Who may do what with the files and folders that a storage makes, whatever the process's umask says: the owner
/// everything; the manifest's group may read stores and counters; nobody else anything.
struct File_rights {
  std::optional<gid_t> group;

  /// ExceptionStorageLocationNotFound when the machine has no such group.
  static File_rights of(Per_settings const& settings);

  mode_t file_mode() const noexcept { return group ? 0640 : 0600; }
  mode_t folder_mode() const noexcept { return group ? 0750 : 0700; }

  /// Gives a file or folder that the process just made its mode and group; 0, or the errno of what failed.
  int apply(int descriptor, mode_t mode) const noexcept;
  /// Makes the folder unless it is there; one of the process's own gets its group. ExceptionStorageLocationNotFound
  /// when its place is missing or closed, ExceptionPhysicalStorageError when the medium is at fault.
  void make_folder(std::string const& path) const;

 private:
  void mend_folder(std::string const& path) const noexcept;
};

}  // namespace linux_platform::per

#endif
