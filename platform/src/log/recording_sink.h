// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_RECORDING_SINK_H
#define PLATFORM_SRC_LOG_RECORDING_SINK_H

#include <cstdint>
#include <mutex>
#include <string>
#include <variant>
#include <vector>

#include "platform/src/log/sink_if.h"

namespace linux_platform::log {

/// A piece with its exact type, owned.
using Recorded_piece = std::variant<bool, std::int8_t, std::int16_t, std::int32_t, std::int64_t, std::uint8_t,
                                    std::uint16_t, std::uint32_t, std::uint64_t, float, double, std::string>;

struct Recorded {
  std::string context_id;
  ara::log::LogLevel level;
  std::vector<Recorded_piece> pieces;
};

/// Keeps every record it gets, for tests that compare lines piece by piece. Any thread.
class Recording_sink final : public Sink_if {
 public:
  explicit Recording_sink(ara::log::LogLevel threshold = ara::log::LogLevel::kVerbose) noexcept;

  void open(Context& context, std::size_t slot) override;
  void write(Record const& record) noexcept override;

  /// The records so far, in order; keeps none of them.
  std::vector<Recorded> take();

 private:
  ara::log::LogLevel const threshold_;
  std::mutex mutex_;
  std::vector<Recorded> records_;
};

}  // namespace linux_platform::log

#endif
