// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_CONSOLE_SINK_H
#define PLATFORM_SRC_LOG_CONSOLE_SINK_H

#include <climits>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "ara/log/log_level.h"
#include "platform/src/log/nonblocking_output.h"
#include "platform/src/log/sink_if.h"

namespace linux_platform::log {

/// Records as lines on standard output:
///
///   2026-11-21T07:20:00.048678Z FLWT DATA info Configured log period: 30 minutes
///
/// that is time (UTC), application, context, level and the pieces, joined by one blank. A line that standard output
/// does not take at once is dropped and counted; the next one that gets through follows a line that tells the count.
class Console_sink final : public Sink_if {
 public:
  Console_sink(std::string application_id, ara::log::LogLevel level) noexcept;

  void open(Context& context, std::size_t slot) override;
  void write(Record const& record) noexcept override;

 private:
  bool send(std::string_view line) noexcept;
  bool send_rest() noexcept;
  bool tell_dropped() noexcept;

  std::string const application_id_;
  ara::log::LogLevel const level_;
  std::mutex mutex_;
  Nonblocking_output output_;
  // The end of a line of which a terminal or socket took only the start.
  char rest_[PIPE_BUF];  // NOLINT(modernize-avoid-c-arrays): only the first rest_size_ bytes are ever read
  std::size_t rest_size_ = 0;
  std::uint64_t dropped_ = 0;
};

}  // namespace linux_platform::log

#endif
