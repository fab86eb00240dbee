// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_PERSISTENCY_STATISTICS_STORED_USAGE_H
#define MACHINE_PERSISTENCY_STATISTICS_STORED_USAGE_H

#include <utility>

#include "machine/persistency_statistics/usage_source_if.h"
#include "platform/src/per/settings.h"

namespace persistency_statistics {

/// The counters that the platform's key-value storages really keep.
class Stored_usage final : public Usage_source_if {
 public:
  explicit Stored_usage(linux_platform::per::Per_settings settings) : reader_(std::move(settings)) {}

  Reading read() override { return reader_.read(); }

 private:
  linux_platform::per::Usage_reader reader_;
};

}  // namespace persistency_statistics

#endif
