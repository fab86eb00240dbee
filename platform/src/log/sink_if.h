// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_SINK_IF_H
#define PLATFORM_SRC_LOG_SINK_IF_H

#include "ara/log/log_level.h"
#include "platform/src/log/record.h"

namespace linux_platform::log {

/// Where records go. Installed in the log core, which calls `open` for every context, then `write` for its records.
class Sink_if {
 public:
  virtual ~Sink_if() = default;
  Sink_if(Sink_if const&) = delete;
  Sink_if& operator=(Sink_if const&) = delete;
  Sink_if(Sink_if&&) = delete;
  Sink_if& operator=(Sink_if&&) = delete;

  /// Takes up a context and sets its threshold in `slot`, the place of this sink. One call at a time, none of `write`
  /// meanwhile. The sink may change the threshold later, on any thread.
  virtual void open(Context& context, std::size_t slot) = 0;

  /// Takes a record. Called on the thread that logs, by several at once; never blocks, never logs.
  virtual void write(Record const& record) noexcept = 0;

 protected:
  Sink_if() = default;
};

}  // namespace linux_platform::log

#endif
