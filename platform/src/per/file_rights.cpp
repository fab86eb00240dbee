// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/file_rights.h"

#include <cerrno>
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

#include "ara/per/exceptions.h"
#include "platform/src/per/descriptor.h"
#include "platform/src/per/names.h"

namespace linux_platform::per {
namespace {

/// Room for one line of the group database, members included.
constexpr std::size_t group_line_limit = 65536;

[[noreturn]] void refuse(std::string const& path, std::string const& what, int error) {
  auto const text = "folder \"" + printable(path) + "\": " + what + ": " + std::generic_category().message(error);
  if (error == EROFS || error == ENOSPC || error == EDQUOT || error == EIO) {
    throw ara::per::ExceptionPhysicalStorageError(text);
  }
  throw ara::per::ExceptionStorageLocationNotFound(text);
}

}  // namespace

File_rights File_rights::of(Per_settings const& settings) {
  File_rights rights;
  if (settings.group) {
    std::vector<char> line(group_line_limit);
    struct group entry {};
    struct group* found = nullptr;
    auto const error = getgrnam_r(settings.group->c_str(), &entry, line.data(), line.size(), &found);
    if (found == nullptr) {
      throw ara::per::ExceptionStorageLocationNotFound(
          "the group \"" + printable(*settings.group) + "\" of the storages is not known to this machine" +
          (error == 0 ? "" : ": " + std::generic_category().message(error)));
    }
    rights.group = entry.gr_gid;
  }
  return rights;
}

int File_rights::apply(int descriptor, mode_t mode) const noexcept {
  if (group && fchown(descriptor, static_cast<uid_t>(-1), *group) != 0) {
    return errno;
  }
  return fchmod(descriptor, mode) == 0 ? 0 : errno;
}

/// A process that was ended right after it had made its own folder has left it without its group. Where that cannot be
/// mended, the process can still use it.
void File_rights::mend_folder(std::string const& path) const noexcept {
  Descriptor const folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  struct stat status {};
  if (group && folder && fstat(folder.get(), &status) == 0 && status.st_uid == geteuid() && status.st_gid != *group) {
    static_cast<void>(apply(folder.get(), folder_mode()));
  }
}

void File_rights::make_folder(std::string const& path) const {
  if (mkdir(path.c_str(), folder_mode()) == 0) {
    Descriptor const folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    auto const error = folder ? apply(folder.get(), folder_mode()) : errno;
    if (error != 0) {
      refuse(path, "cannot be given its mode and group", error);
    }
  } else if (errno == EEXIST) {
    mend_folder(path);
  } else {
    refuse(path, "cannot be made", errno);
  }
  if (access(path.c_str(), X_OK) != 0) {
    refuse(path, "cannot be entered", errno);
  }
}

}  // namespace linux_platform::per
