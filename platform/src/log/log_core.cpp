// SPDX-License-Identifier: Apache-2.0
#include "platform/src/log/log_core.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <new>
#include <stdexcept>
#include <unistd.h>
#include <utility>

#include "ara/log/log_stream.h"
#include "platform/src/log/blocked_signals.h"
#include "platform/src/log/complaint.h"
#include "platform/src/log/console_sink.h"
#include "platform/src/log/dlt_sink.h"
#include "platform/src/log/id.h"

namespace linux_platform::log {

using ara::log::LogLevel;
using ara::log::LogMode;

Log_core& Log_core::instance() noexcept {
  alignas(Log_core) static unsigned char storage[sizeof(Log_core)];  // NOLINT(modernize-avoid-c-arrays): raw storage
  static Log_core& core = *new (storage) Log_core;
  return core;
}

Log_core::Log_core() : default_context_("DFLT", "default context", 0) {
  contexts_[0] = &default_context_;
  count_ = 1;
  open_slot(early_slot, early_records_);
}

Log_core::~Log_core() = default;

void Log_core::initialise(Settings settings) {
  std::uint64_t dropped = 0;
  {
    std::unique_lock const lock(mutex_);
    if (initialised_) {
      complain({"InitLogging was called before; application id \"", settings.application_id, "\" is not used"});
      return;
    }
    initialised_ = true;
    settings.application_id = mended_id("application id", settings.application_id);
    if (contains(settings.mode, LogMode::kRemote)) {
      open_dlt(settings);
    }
    if (contains(settings.mode, LogMode::kConsole)) {
      console_ = std::make_unique<Console_sink>(settings.application_id, settings.level);
      open_slot(console_slot, *console_);
    }
    dropped = replay_early_records();
  }
  if (dropped > 0) {
    default_context_.logger().LogWarn() << "log records lost before the log was initialised:" << dropped;
  }
}

// The library's own exit handler frees what records are written with, so ours has to come before it: handlers run in
// the reverse order of registration, and the library registers its own when it starts.
void Log_core::open_dlt(Settings const& settings) {
  Blocked_signals const blocked;
  if (!Dlt_sink::start(settings.application_id, settings.application_description)) {
    complain({"DLT cannot be used (is the parent of its pipe directory, DLT_PIPE_DIR or /tmp, there and writable?)"});
    return;
  }
  process_ = getpid();
  if (std::atexit([] { instance().finish(); }) != 0) {
    complain({"no exit handler left; the last records may not reach DLT"});
  }
  dlt_ = std::make_unique<Dlt_sink>(settings.level);
  open_slot(dlt_slot, *dlt_);
}

std::uint64_t Log_core::replay_early_records() {
  auto const dropped = early_records_.replay([this](Record const& record) {
    for (auto const slot : {dlt_slot, console_slot}) {
      if (sinks_.at(slot) != nullptr && record.level <= record.context.threshold(slot)) {
        sinks_.at(slot)->write(record);
      }
    }
  });
  close_slot(early_slot);
  return dropped;
}

Context* Log_core::lookup(std::string_view id) noexcept {
  auto const* const end = contexts_.begin() + count_.load(std::memory_order_acquire);
  auto const* const found =
      std::find_if(contexts_.cbegin(), end, [id](Context* context) { return context->logger().context_id() == id; });
  return found == end ? nullptr : *found;
}

// Without the mutex, which may be held by a thread that waits for libdlt's.
void Log_core::change_dlt_level(std::array<char, 4> const& id, LogLevel level) noexcept {
  auto const* const end = std::find(id.begin(), id.end(), '\0');
  if (auto* const changed = lookup({id.data(), static_cast<std::size_t>(end - id.begin())})) {
    changed->set_threshold(dlt_slot, level);
  }
  dlt_->on_level_change();
}

Context& Log_core::context(std::string_view id, std::string description) {
  std::unique_lock const lock(mutex_);
  if (auto* const known = lookup(id)) {
    return *known;
  }
  auto const index = count_.load(std::memory_order_relaxed);
  if (index == context_limit) {
    complain({"no room for another context; \"", id, "\" logs to the default one"});
    return default_context_;
  }
  auto& made =
      *(contexts_.at(index) = std::make_unique<Context>(std::string(id), std::move(description), index).release());
  // A sink that is opened may ask for the context from a thread of its own.
  count_.store(index + 1, std::memory_order_release);
  for (std::size_t slot = 0; slot < slot_limit; ++slot) {
    if (sinks_.at(slot) != nullptr) {
      sinks_.at(slot)->open(made, slot);
    }
  }
  return made;
}

void Log_core::deliver(Context const& context, LogLevel level, std::string_view pieces,
                       std::uint8_t piece_count) noexcept {
  Record const record{context, level, pieces, piece_count, std::chrono::nanoseconds::zero()};
  std::shared_lock const lock(mutex_);
  for (std::size_t slot = 0; slot < slot_limit; ++slot) {
    if (sinks_.at(slot) != nullptr && level <= context.threshold(slot)) {
      sinks_.at(slot)->write(record);
    }
  }
}

void Log_core::install(Sink_if& sink) {
  std::unique_lock const lock(mutex_);
  for (auto slot = first_extra_slot; slot < slot_limit; ++slot) {
    if (sinks_.at(slot) == nullptr) {
      open_slot(slot, sink);
      return;
    }
  }
  throw std::length_error("ara::log: no slot left for another sink");
}

void Log_core::remove(Sink_if& sink) noexcept {
  std::unique_lock const lock(mutex_);
  for (auto slot = first_extra_slot; slot < slot_limit; ++slot) {
    if (sinks_.at(slot) == &sink) {
      close_slot(slot);
    }
  }
}

void Log_core::open_slot(std::size_t slot, Sink_if& sink) {
  sinks_.at(slot) = &sink;
  std::for_each_n(contexts_.begin(), count_.load(), [&](Context* context) { sink.open(*context, slot); });
}

void Log_core::close_slot(std::size_t slot) noexcept {
  sinks_.at(slot) = nullptr;
  std::for_each_n(contexts_.begin(), count_.load(),
                  [slot](Context* context) { context->set_threshold(slot, LogLevel::kOff); });
}

void Log_core::finish() noexcept {
  std::unique_lock const lock(mutex_);
  if (process_ == getpid() && dlt_) {
    close_slot(dlt_slot);
    dlt_->finish();
  }
}

}  // namespace linux_platform::log
