// SPDX-License-Identifier: Apache-2.0
#include "platform/src/log/early_records.h"

#include <new>
#include <utility>

namespace linux_platform::log {

void Early_records::open(Context& context, std::size_t slot) {
  context.set_threshold(slot, ara::log::LogLevel::kVerbose);
}

void Early_records::write(Record const& record) noexcept {
  std::lock_guard const lock(mutex_);
  if (records_.size() == limit) {
    ++dropped_;
    return;
  }
  try {
    records_.push_back({&record.context, record.level, std::string(record.pieces), record.piece_count,
                        std::chrono::steady_clock::now()});
  } catch (std::bad_alloc const&) {
    ++dropped_;
  }
}

std::uint64_t Early_records::replay(std::function<void(Record const&)> const& take) {
  std::lock_guard const lock(mutex_);
  auto const now = std::chrono::steady_clock::now();
  for (auto const& kept : std::exchange(records_, {})) {
    take({*kept.context, kept.level, kept.pieces, kept.piece_count, now - kept.made});
  }
  return std::exchange(dropped_, 0);
}

}  // namespace linux_platform::log
