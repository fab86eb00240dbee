// SPDX-License-Identifier: Apache-2.0
#ifndef ARA_LOG_LOG_LEVEL_H
#define ARA_LOG_LOG_LEVEL_H

#include <cstdint>

namespace ara::log {

/// How severe a record is, and how far down a context logs. The numbers are those of DLT.
enum class LogLevel : std::uint8_t {
  kOff = 0,
  kFatal = 1,
  kError = 2,
  kWarn = 3,
  kInfo = 4,
  kDebug = 5,
  kVerbose = 6,
};

/// Where records go. The values are bits and may be joined.
enum class LogMode : std::uint8_t {
  kRemote = 0x01,
  kFile = 0x02,
  kConsole = 0x04,
};

constexpr LogMode operator|(LogMode left, LogMode right) noexcept {
  return static_cast<LogMode>(static_cast<unsigned>(left) | static_cast<unsigned>(right));
}

constexpr bool contains(LogMode modes, LogMode mode) noexcept {
  return (static_cast<unsigned>(modes) & static_cast<unsigned>(mode)) != 0U;
}

}  // namespace ara::log

#endif
