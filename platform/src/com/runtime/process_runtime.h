// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_RUNTIME_PROCESS_RUNTIME_H
#define PLATFORM_SRC_COM_RUNTIME_PROCESS_RUNTIME_H

#include <memory>

#include "platform/src/com/runtime/runtime.h"

namespace linux_platform::com {

/// The runtime on which proxies, skeletons and instance identifiers are made from now on: that of the process, which
/// Component_singleton sets. Tests put others in its place one after the other.
class Process_runtime final {
 public:
  /// std::logic_error when one is set and `runtime` is not null.
  static void start(std::shared_ptr<Runtime> runtime);
  /// Takes it back; the result is null when none was set.
  static std::shared_ptr<Runtime> end() noexcept;
  /// std::logic_error when none is set.
  static std::shared_ptr<Runtime> get();
};

}  // namespace linux_platform::com

#endif
