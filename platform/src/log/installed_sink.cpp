// SPDX-License-Identifier: Apache-2.0
#include "platform/src/log/installed_sink.h"

#include "platform/src/log/log_core.h"

namespace linux_platform::log {

Installed_sink::Installed_sink(Sink_if& sink) : sink_(sink) { Log_core::instance().install(sink); }

Installed_sink::~Installed_sink() { Log_core::instance().remove(sink_); }

}  // namespace linux_platform::log
