// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_DLT_SINK_H
#define PLATFORM_SRC_LOG_DLT_SINK_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include <dlt/dlt.h>

#include "ara/log/log_level.h"
#include "platform/src/log/dlt_daemon_identity.h"
#include "platform/src/log/sink_if.h"

namespace linux_platform::log {

/// Records as DLT messages in verbose mode with typed arguments, through libdlt, which keeps them (up to 500,000 bytes,
/// environment DLT_USER_BUFFER_MAX) while there is no daemon or it does not keep up. Every context starts with the
/// given level, with every daemon: libdlt itself would take over the default level of one that comes late or comes
/// back. The daemon may change it at any time, the environment variable DLT_INITIAL_LOG_LEVEL even before. One per
/// process.
class Dlt_sink final : public Sink_if {
 public:
  /// Starts libdlt and registers the application. Call with all signals blocked: libdlt starts its threads here. False
  /// when libdlt cannot be used.
  static bool start(std::string const& application_id, std::string const& application_description) noexcept;

  /// After a start that succeeded.
  explicit Dlt_sink(ara::log::LogLevel level) noexcept;

  void open(Context& context, std::size_t slot) override;
  void write(Record const& record) noexcept override;

  /// Tells a daemon that was not there before which level the application logs at. Called on libdlt's thread.
  void on_level_change() noexcept;

  /// Delivers what libdlt still keeps, as long as the daemon takes it, and signs off. The last call.
  void finish() noexcept;

 private:
  static void level_changed(char* context_id, std::uint8_t level, std::uint8_t trace_status) noexcept;
  DltContext& handle(Context const& context) noexcept { return handles_.at(context.index()); }

  ara::log::LogLevel const level_;
  Dlt_daemon_identity daemon_;
  std::array<DltContext, context_limit> handles_{};
};

}  // namespace linux_platform::log

#endif
