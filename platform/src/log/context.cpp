// SPDX-License-Identifier: Apache-2.0
#include "platform/src/log/context.h"

#include <algorithm>
#include <utility>

namespace ara::log {

Logger::Context::Context(std::string id, std::string description, std::size_t index)
    : index_(index), logger_(std::move(id), std::move(description), LogLevel::kOff) {
  logger_.context_ = this;
}

void Logger::Context::set_threshold(std::size_t slot, LogLevel level) noexcept {
  std::lock_guard const lock(changing_);
  thresholds_.at(slot).store(level, std::memory_order_relaxed);
  auto lowest = LogLevel::kOff;
  for (auto const& threshold : thresholds_) {
    lowest = std::max(lowest, threshold.load(std::memory_order_relaxed));
  }
  logger_.set_level(lowest);
}

}  // namespace ara::log
