// SPDX-License-Identifier: Apache-2.0
#include "platform/src/phm/checkpoint_window.h"

#include <optional>

namespace linux_platform::phm {

std::chrono::milliseconds checkpoint_window(manifest::Machine_manifest const& manifest, std::string const& instance) {
  std::chrono::milliseconds result = default_checkpoint_window;
  std::optional<manifest::Node> const health = manifest.root().find("health");
  if (!health) {
    return result;
  }
  for (auto const& [name, entry] : health->members()) {
    entry.allow_only({"checkpoint_window_ms"});
    auto const window = entry.member("checkpoint_window_ms").milliseconds(min_checkpoint_window, max_checkpoint_window);
    if (name == instance) {
      result = window;
    }
  }
  return result;
}

}  // namespace linux_platform::phm
