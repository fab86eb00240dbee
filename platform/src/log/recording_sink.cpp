// SPDX-License-Identifier: Apache-2.0
#include "platform/src/log/recording_sink.h"

#include <type_traits>
#include <utility>

#include "platform/src/log/piece.h"

namespace linux_platform::log {

namespace {

Recorded_piece owned(Piece const& piece) {
  return std::visit(
      [](auto const& value) -> Recorded_piece {
        if constexpr (std::is_same_v<std::decay_t<decltype(value)>, std::string_view>) {
          return std::string(value);
        } else {
          return value;
        }
      },
      piece);
}

}  // namespace

Recording_sink::Recording_sink(ara::log::LogLevel threshold) noexcept : threshold_(threshold) {}

void Recording_sink::open(Context& context, std::size_t slot) { context.set_threshold(slot, threshold_); }

// A test that runs out of memory here ends, by noexcept.
void Recording_sink::write(Record const& record) noexcept {
  Recorded recorded{record.context.logger().context_id(), record.level, {}};
  Piece_reader reader(record.pieces);
  while (auto const piece = reader.next()) {
    recorded.pieces.push_back(owned(*piece));
  }
  std::lock_guard const lock(mutex_);
  records_.push_back(std::move(recorded));
}

std::vector<Recorded> Recording_sink::take() {
  std::lock_guard const lock(mutex_);
  return std::exchange(records_, {});
}

}  // namespace linux_platform::log
