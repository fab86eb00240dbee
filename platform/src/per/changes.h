// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_CHANGES_H
#define PLATFORM_SRC_PER_CHANGES_H

#include <map>
#include <optional>
#include <string>

#include "ara/per/kvs_type.h"

namespace linux_platform::per {

/// What is staged for the next commit.
struct Changes {
  /// Everything that is stored goes first.
  bool clear = false;
  /// The new value of a key, or none for a key that goes.
  std::map<std::string, std::optional<ara::per::KvsType>> values;

  bool empty() const noexcept { return !clear && values.empty(); }
};

}  // namespace linux_platform::per

#endif
