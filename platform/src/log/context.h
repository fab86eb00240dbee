// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_CONTEXT_H
#define PLATFORM_SRC_LOG_CONTEXT_H

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>
#include <string>

#include "ara/log/logger.h"

namespace linux_platform::log {

/// Places where sinks are installed: the records before InitLogging, DLT, the console, and those of tests.
constexpr std::size_t early_slot = 0;
constexpr std::size_t dlt_slot = 1;
constexpr std::size_t console_slot = 2;
constexpr std::size_t first_extra_slot = 3;
constexpr std::size_t slot_limit = 6;

/// Contexts of one process. Further ids share the default context.
constexpr std::size_t context_limit = 64;

}  // namespace linux_platform::log

/// A logger and how far down each sink wants its records. Any thread.
class ara::log::Logger::Context {
 public:
  /// `index` numbers the contexts of the process from 0.
  Context(std::string id, std::string description, std::size_t index);

  Logger& logger() noexcept { return logger_; }
  Logger const& logger() const noexcept { return logger_; }
  std::size_t index() const noexcept { return index_; }

  /// What the sink in `slot` takes; kOff at first.
  LogLevel threshold(std::size_t slot) const noexcept { return thresholds_.at(slot).load(std::memory_order_relaxed); }
  void set_threshold(std::size_t slot, LogLevel level) noexcept;

 private:
  std::size_t const index_;
  std::array<std::atomic<LogLevel>, linux_platform::log::slot_limit> thresholds_{};
  // Keeps the logger's level the maximum of the thresholds when two of them change at once.
  std::mutex changing_;
  Logger logger_;
};

namespace linux_platform::log {

using Context = ara::log::Logger::Context;

}  // namespace linux_platform::log

#endif
