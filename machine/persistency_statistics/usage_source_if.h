// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_PERSISTENCY_STATISTICS_USAGE_SOURCE_IF_H
#define MACHINE_PERSISTENCY_STATISTICS_USAGE_SOURCE_IF_H

#include "platform/src/per/usage_reader.h"

namespace persistency_statistics {

/// Where the counters of the machine's applications come from. Used by one thread at a time.
class Usage_source_if {
 public:
  using Reading = linux_platform::per::Usage_reader::Reading;

  virtual ~Usage_source_if() = default;
  Usage_source_if(Usage_source_if const&) = delete;
  Usage_source_if& operator=(Usage_source_if const&) = delete;

  /// The applications that have a storage now, and what was found wrong since the last time.
  /// Throws only when the process itself is out of something, such as memory.
  virtual Reading read() = 0;

 protected:
  Usage_source_if() = default;
};

}  // namespace persistency_statistics

#endif
