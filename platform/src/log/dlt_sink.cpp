// SPDX-License-Identifier: Apache-2.0
#include "platform/src/log/dlt_sink.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <pthread.h>
#include <string>
#include <thread>

#include "platform/src/log/blocked_signals.h"
#include "platform/src/log/complaint.h"
#include "platform/src/log/log_core.h"

namespace linux_platform::log {

namespace {

using ara::log::LogLevel;
using Clock = std::chrono::steady_clock;

// A daemon that takes nothing for this long will not take the rest; and no end of a process takes longer than this.
constexpr std::chrono::milliseconds patience_with_daemon{1000};
constexpr std::chrono::milliseconds longest_finish{5000};
constexpr std::chrono::milliseconds pause_between_attempts{1};

// dlt_uptime counts in these.
using Dlt_ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10000>>;

LogLevel to_level(std::int8_t level) noexcept {
  return static_cast<LogLevel>(std::clamp<std::int8_t>(level, 0, static_cast<std::int8_t>(LogLevel::kVerbose)));
}

int kept_bytes() noexcept {
  int total = 0;
  int used = 0;
  return dlt_user_check_buffer(&total, &used) == DLT_RETURN_OK ? used : 0;
}

// The library's own flush at exit is either endless patience or none; this one goes on while the daemon takes
// something.
void flush_to_daemon() noexcept {
  auto const started = Clock::now();
  auto last_progress = started;
  auto kept = kept_bytes();
  while (kept > 0 && dlt_user_log_resend_buffer() == DLT_RETURN_PIPE_FULL) {
    auto const now = Clock::now();
    auto const left = kept_bytes();
    last_progress = left < kept ? now : last_progress;
    kept = left;
    if (now - last_progress > patience_with_daemon || now - started > longest_finish) {
      return;
    }
    std::this_thread::sleep_for(pause_between_attempts);
  }
}

}  // namespace

bool Dlt_sink::start(std::string const& application_id, std::string const& application_description) noexcept {
  // The library tells about itself on standard output and would wait for a full one. DLT_LOG_MODE brings it back.
  dlt_log_init(DLT_LOG_DROPPED);
  // Without this the library waits 10 s at exit for a daemon that is not there.
  return dlt_set_resend_timeout_atexit(0) == 0 &&
         dlt_register_app(application_id.c_str(), application_description.c_str()) >= DLT_RETURN_OK;
}

Dlt_sink::Dlt_sink(LogLevel level) noexcept : level_(level) {}

void Dlt_sink::open(Context& context, std::size_t slot) {
  Blocked_signals const blocked;
  auto& dlt_context = handle(context);
  auto const& logger = context.logger();
  if (dlt_register_context_ll_ts(&dlt_context, logger.context_id().c_str(), logger.context_description().c_str(),
                                 static_cast<int>(level_), DLT_TRACE_STATUS_OFF) < DLT_RETURN_OK) {
    return;
  }
  dlt_register_log_level_changed_callback(&dlt_context, &Dlt_sink::level_changed);
  // A change that comes in between either shows in the second reading or calls back after the threshold was set.
  std::int8_t adopted = 0;
  do {
    adopted = *dlt_context.log_level_ptr;
    context.set_threshold(slot, to_level(adopted));
  } while (*dlt_context.log_level_ptr != adopted);
}

// On libdlt's thread, which libdlt cancels at exit: that must not happen in here, for a cancellation unwinds the stack.
void Dlt_sink::level_changed(char* context_id, std::uint8_t level, std::uint8_t /*trace_status*/) noexcept {
  int cancellable = 0;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancellable);
  std::array<char, DLT_ID_SIZE> id{};
  std::memcpy(id.data(), context_id, id.size());
  Log_core::instance().change_dlt_level(id, to_level(static_cast<std::int8_t>(level)));
  pthread_setcancelstate(cancellable, nullptr);
}

void Dlt_sink::on_level_change() noexcept {
  if (daemon_.changed()) {
    dlt_set_application_ll_ts_limit(static_cast<DltLogLevelType>(level_), DLT_TRACE_STATUS_OFF);
  }
}

void Dlt_sink::write(Record const& record) noexcept {
  DltContextData data{};
  // The library only reads the pieces, though it takes them without const.
  auto* const pieces = const_cast<char*>(record.pieces.data());  // NOLINT(cppcoreguidelines-pro-type-const-cast)
  if (dlt_user_log_write_start_w_given_buffer(&handle(record.context), &data,
                                              static_cast<DltLogLevelType>(record.level), pieces, record.pieces.size(),
                                              record.piece_count) != DLT_RETURN_TRUE) {
    return;
  }
  if (record.age > std::chrono::nanoseconds::zero()) {
    data.use_timestamp = DLT_USER_TIMESTAMP;
    data.user_timestamp = dlt_uptime() - static_cast<std::uint32_t>(std::chrono::floor<Dlt_ticks>(record.age).count());
  }
  dlt_user_log_write_finish_w_given_buffer(&data);
}

void Dlt_sink::finish() noexcept {
  flush_to_daemon();
  if (auto const kept = kept_bytes(); kept > 0) {
    // The library's flush would try for ever; its exit handler signs off too.
    complain({"no DLT daemon took the last ", std::to_string(kept), " bytes of messages"});
    return;
  }
  dlt_unregister_app_flush_buffered_logs();
}

}  // namespace linux_platform::log
