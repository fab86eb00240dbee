// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_INSTALLED_SINK_H
#define PLATFORM_SRC_LOG_INSTALLED_SINK_H

#include "platform/src/log/sink_if.h"

namespace linux_platform::log {

/// Keeps a sink installed while it lives, beside those of InitLogging, before and after it.
class Installed_sink {
 public:
  /// `sink` outlives this. Throws std::length_error when no slot is free.
  explicit Installed_sink(Sink_if& sink);
  ~Installed_sink();
  Installed_sink(Installed_sink const&) = delete;
  Installed_sink& operator=(Installed_sink const&) = delete;

 private:
  Sink_if& sink_;
};

}  // namespace linux_platform::log

#endif
