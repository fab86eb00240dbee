// SPDX-License-Identifier: Apache-2.0
#ifndef ARA_LOG_LOGGER_H
#define ARA_LOG_LOGGER_H

#include <atomic>
#include <string>

#include "ara/log/log_level.h"
#include "ara/log/log_stream.h"

namespace ara::log {

/// One log context of the process. Made by CreateLogger, lives until the process ends, usable from any thread.
class Logger {
 public:
  /// What the logging library knows of a context; defined there.
  class Context;

  /// For the logging library itself; use CreateLogger. Records of a logger made otherwise reach no sink.
  Logger(std::string context_id, std::string context_description, LogLevel level);
  ~Logger();
  Logger(Logger const&) = delete;
  Logger& operator=(Logger const&) = delete;

  LogStream LogFatal() const noexcept { return stream(LogLevel::kFatal); }
  LogStream LogError() const noexcept { return stream(LogLevel::kError); }
  LogStream LogWarn() const noexcept { return stream(LogLevel::kWarn); }
  LogStream LogInfo() const noexcept { return stream(LogLevel::kInfo); }
  LogStream LogDebug() const noexcept { return stream(LogLevel::kDebug); }
  LogStream LogVerbose() const noexcept { return stream(LogLevel::kVerbose); }

  /// Whether a record of `level` would reach a sink. kOff is never enabled.
  bool IsLogEnabled(LogLevel level) const noexcept {
    return level != LogLevel::kOff && level <= level_.load(std::memory_order_relaxed);
  }

  std::string const& context_id() const noexcept { return context_id_; }
  std::string const& context_description() const noexcept { return context_description_; }
  /// The least severe level that is enabled.
  LogLevel level() const noexcept { return level_.load(std::memory_order_relaxed); }
  /// For the logging library itself, which keeps here how far down any of the sinks wants this context's records.
  void set_level(LogLevel level) noexcept { level_.store(level, std::memory_order_relaxed); }

 private:
  friend class LogStream;

  LogStream stream(LogLevel level) const noexcept { return {IsLogEnabled(level) ? this : nullptr, level}; }

  std::string const context_id_;
  std::string const context_description_;
  std::atomic<LogLevel> level_;
  [[maybe_unused]] Context* context_ = nullptr;
};

}  // namespace ara::log

#endif
