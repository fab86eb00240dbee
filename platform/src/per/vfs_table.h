// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_VFS_TABLE_H
#define PLATFORM_SRC_PER_VFS_TABLE_H

#include <sqlite3.h>

#include "platform/src/per/store_vfs.h"

namespace linux_platform::per {

/// The table of functions through which SQLite reaches `vfs`. What has nothing to do with files (time, randomness,
/// sleeping) is the default VFS's.
sqlite3_vfs make_vfs_table(Store_vfs& vfs);

}  // namespace linux_platform::per

#endif
