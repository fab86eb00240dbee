// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_RECORD_H
#define PLATFORM_SRC_LOG_RECORD_H

#include <chrono>
#include <cstdint>
#include <string_view>

#include "ara/log/log_level.h"
#include "platform/src/log/context.h"

namespace linux_platform::log {

/// A finished record on its way to the sinks.
struct Record {
  Context const& context;
  ara::log::LogLevel level;
  /// Encoded as in piece.h; valid during the call that hands the record over.
  std::string_view pieces;
  std::uint8_t piece_count;
  /// How long ago it was made: 0 but for records from before InitLogging.
  std::chrono::nanoseconds age;
};

}  // namespace linux_platform::log

#endif
