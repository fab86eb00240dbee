// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_LOG_CORE_H
#define PLATFORM_SRC_LOG_LOG_CORE_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "ara/log/log_level.h"
#include "platform/src/log/context.h"
#include "platform/src/log/early_records.h"
#include "platform/src/log/sink_if.h"

namespace linux_platform::log {

class Console_sink;
class Dlt_sink;

/// What InitLogging was given.
struct Settings {
  std::string application_id;
  std::string application_description;
  ara::log::LogLevel level;
  ara::log::LogMode mode;
};

/// The log of this process: its contexts and sinks. Any thread.
class Log_core {
 public:
  /// Made on first use and never destroyed: destructors of static objects and threads that outlive main may log.
  static Log_core& instance() noexcept;

  Log_core(Log_core const&) = delete;
  Log_core& operator=(Log_core const&) = delete;

  /// Opens the sinks of the mode and hands them the records from before. A second call is refused.
  void initialise(Settings settings);

  Context& default_context() noexcept { return default_context_; }
  /// The context `id`, made if there is none yet.
  Context& context(std::string_view id, std::string description);
  /// For the DLT sink: the daemon wants another level of the context with this id (padded with NUL). On libdlt's
  /// thread.
  void change_dlt_level(std::array<char, 4> const& id, ara::log::LogLevel level) noexcept;

  /// Hands a finished record to the sinks that want it.
  void deliver(Context const& context, ara::log::LogLevel level, std::string_view pieces,
               std::uint8_t piece_count) noexcept;

  /// Adds a sink for records from now on, or takes it out; `sink` gets no call after that. Throws std::length_error
  /// when no slot is free.
  void install(Sink_if& sink);
  void remove(Sink_if& sink) noexcept;

 private:
  Log_core();
  ~Log_core();

  Context* lookup(std::string_view id) noexcept;
  void open_slot(std::size_t slot, Sink_if& sink);
  void close_slot(std::size_t slot) noexcept;
  void open_dlt(Settings const& settings);
  std::uint64_t replay_early_records();
  void finish() noexcept;

  // Held shared by whoever logs, alone by whoever changes contexts or sinks.
  std::shared_mutex mutex_;
  std::array<Sink_if*, slot_limit> sinks_{};
  Early_records early_records_;
  std::unique_ptr<Dlt_sink> dlt_;
  std::unique_ptr<Console_sink> console_;
  bool initialised_ = false;
  // The process that initialised: a forked child must leave libdlt alone.
  pid_t process_ = 0;

  Context default_context_;
  // Entries below count_ are set once and stay; change_dlt_level reads them without the mutex.
  std::array<Context*, context_limit> contexts_{};
  std::atomic<std::size_t> count_ = 0;
};

}  // namespace linux_platform::log

#endif
