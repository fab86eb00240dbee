// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PHM_CHECKPOINT_WINDOW_H
#define PLATFORM_SRC_PHM_CHECKPOINT_WINDOW_H

#include <chrono>
#include <string>

#include "platform/src/manifest/machine_manifest.h"

namespace linux_platform::phm {

/// The window of an instance that the manifest does not mention: twice the usual rhythm of one checkpoint a minute.
constexpr std::chrono::milliseconds default_checkpoint_window{120'000};
constexpr std::chrono::milliseconds min_checkpoint_window{1};
constexpr std::chrono::milliseconds max_checkpoint_window{86'400'000};

/// The longest time that may pass from one checkpoint of an entity to its next:
/// "health.<instance>.checkpoint_window_ms" of the manifest. Checks the manifest's whole part "health"; Manifest_error
/// when it is wrong.
std::chrono::milliseconds checkpoint_window(manifest::Machine_manifest const& manifest, std::string const& instance);

}  // namespace linux_platform::phm

#endif
