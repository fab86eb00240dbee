// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_EARLY_RECORDS_H
#define PLATFORM_SRC_LOG_EARLY_RECORDS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "platform/src/log/sink_if.h"

namespace linux_platform::log {

/// Keeps the records from before InitLogging until the sinks are there. Any thread.
class Early_records final : public Sink_if {
 public:
  /// Records kept; the ones after are counted and dropped.
  static constexpr std::size_t limit = 256;

  void open(Context& context, std::size_t slot) override;
  void write(Record const& record) noexcept override;

  /// Hands the records over in order, with their age, and keeps none of them. The number of those that were dropped.
  std::uint64_t replay(std::function<void(Record const&)> const& take);

 private:
  struct Kept {
    Context const* context;
    ara::log::LogLevel level;
    std::string pieces;
    std::uint8_t piece_count;
    std::chrono::steady_clock::time_point made;
  };

  std::mutex mutex_;
  std::vector<Kept> records_;
  std::uint64_t dropped_ = 0;
};

}  // namespace linux_platform::log

#endif
