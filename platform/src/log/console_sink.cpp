// SPDX-License-Identifier: Apache-2.0
#include "platform/src/log/console_sink.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <unistd.h>
#include <utility>

#include "platform/src/log/console_line.h"
#include "platform/src/log/piece.h"

namespace linux_platform::log {

namespace {

using ara::log::LogLevel;

std::string_view name(LogLevel level) noexcept {
  switch (level) {
    case LogLevel::kOff:
      return "off";
    case LogLevel::kFatal:
      return "fatal";
    case LogLevel::kError:
      return "error";
    case LogLevel::kWarn:
      return "warn";
    case LogLevel::kInfo:
      return "info";
    case LogLevel::kDebug:
      return "debug";
    case LogLevel::kVerbose:
      return "verbose";
  }
  return "?";
}

void start_line(Console_line& line, std::chrono::nanoseconds age, std::string_view application,
                std::string_view context, LogLevel level) noexcept {
  auto const made = std::chrono::system_clock::now() - std::chrono::floor<std::chrono::system_clock::duration>(age);
  line.append_time(made);
  for (auto const word : {application, context, name(level)}) {
    line.append_word(" ");
    line.append_word(word);
  }
}

}  // namespace

Console_sink::Console_sink(std::string application_id, LogLevel level) noexcept
    : application_id_(std::move(application_id)), level_(level), output_(STDOUT_FILENO) {}

void Console_sink::open(Context& context, std::size_t slot) { context.set_threshold(slot, level_); }

void Console_sink::write(Record const& record) noexcept {
  Console_line line;
  start_line(line, record.age, application_id_, record.context.logger().context_id(), record.level);
  Piece_reader pieces(record.pieces);
  while (auto const piece = pieces.next()) {
    line.append_word(" ");
    line.append(*piece);
  }
  std::lock_guard const lock(mutex_);
  if (!send_rest() || !tell_dropped() || !send(line.finish())) {
    ++dropped_;
  }
}

// Whether the line is on its way: taken whole, or begun.
bool Console_sink::send(std::string_view line) noexcept {
  auto const taken = output_.write(line);
  if (taken == 0) {
    return false;
  }
  rest_size_ = line.size() - taken;
  std::memcpy(rest_, line.data() + taken, rest_size_);
  return true;
}

bool Console_sink::send_rest() noexcept {
  if (rest_size_ > 0) {
    auto const taken = output_.write({rest_, rest_size_});
    rest_size_ -= taken;
    std::memmove(rest_, rest_ + taken, rest_size_);
  }
  return rest_size_ == 0;
}

bool Console_sink::tell_dropped() noexcept {
  if (dropped_ == 0) {
    return true;
  }
  Console_line line;
  start_line(line, std::chrono::nanoseconds::zero(), application_id_, "----", LogLevel::kWarn);
  line.append_word(" lines dropped here: ");
  line.append(Piece(dropped_));
  if (!send(line.finish())) {
    return false;
  }
  dropped_ = 0;
  return rest_size_ == 0;
}

}  // namespace linux_platform::log
