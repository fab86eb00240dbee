// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_RUNTIME_COMM_LOG_H
#define PLATFORM_SRC_COM_RUNTIME_COMM_LOG_H

#include "ara/log/logging.h"

namespace linux_platform::com {

/// The runtime's own log context: what the platform has to say never mixes with the application's default context.
inline ara::log::Logger& comm_log() { return ara::log::CreateLogger("COMM", "Communication runtime"); }

}  // namespace linux_platform::com

#endif
