// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_FIGURE_SOURCE_IF_H
#define MACHINE_FLASHWATCH_READ_FIGURE_SOURCE_IF_H

#include "machine/flashwatch_read/byte_stream_if.h"
#include "machine/flashwatch_read/report.h"

namespace flashwatch_read {

/// Where readings come from, and the time in which they are taken. Used by one thread.
class Figure_source_if {
 public:
  virtual ~Figure_source_if() = default;
  Figure_source_if(Figure_source_if const&) = delete;
  Figure_source_if& operator=(Figure_source_if const&) = delete;

  /// Connects where necessary and reads both identifiers. Throws Read_error, or Stop_requested.
  [[nodiscard]] virtual Reading read() = 0;
  virtual Deadline now() const = 0;
  /// Blocks until then. Throws Stop_requested, never Read_error: a connection that is lost meanwhile is made again by
  /// the next reading.
  virtual void pause_until(Deadline then) = 0;

 protected:
  Figure_source_if() = default;
};

}  // namespace flashwatch_read

#endif
