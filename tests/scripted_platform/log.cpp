// SPDX-License-Identifier: Apache-2.0
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#ifdef __clang__  // the stream's own buffer is of no use here
#pragma clang diagnostic ignored "-Wunused-private-field"
#endif
#include "ara/log/logging.h"
#include "tests/scripted_platform/script.h"

namespace ara::log {
namespace {

std::mutex mutex;
/// The pieces of the records under construction. A stream stays where it was made, so its address is its name.
std::map<LogStream const*, std::string> open_records;

void append(LogStream const* stream, std::string const& piece) {
  std::lock_guard const lock(mutex);
  open_records[stream] += " " + piece;
}

std::string typed(char sign, std::size_t bytes, std::string const& number) {
  return sign + std::to_string(8 * bytes) + ":" + number;
}

}  // namespace

void InitLogging(std::string application_id, std::string application_description, LogLevel default_level, LogMode mode,
                 std::string directory_path) {
  script::call("log.InitLogging", application_id + ", " + application_description + ", " +
                                      std::to_string(static_cast<int>(default_level)) + ", " +
                                      std::to_string(static_cast<int>(mode)) + ", \"" + directory_path + "\"");
}

Logger& CreateLogger(std::string context_id, std::string context_description) {
  script::call("log.CreateLogger", context_id + ", " + context_description);
  static std::map<std::string, Logger> loggers;
  std::lock_guard const lock(mutex);
  return loggers.try_emplace(context_id, context_id, context_description, LogLevel::kVerbose).first->second;
}

Logger& DefaultLogger() noexcept {
  static Logger logger("", "", LogLevel::kVerbose);
  return logger;
}

Logger::Logger(std::string context_id, std::string context_description, LogLevel level)
    : context_id_(std::move(context_id)), context_description_(std::move(context_description)), level_(level) {}

Logger::~Logger() = default;

void LogStream::Flush() noexcept {
  std::unique_lock lock(mutex);
  auto const record = open_records.extract(this);
  lock.unlock();
  if (!record.empty()) {
    script::note(script::log_line(logger_->context_id(), level_) + record.mapped());
  }
}

void LogStream::append_bool(bool value) noexcept { append(this, script::piece(value)); }
void LogStream::append_signed(std::int64_t value, std::size_t width) noexcept {
  append(this, typed('i', width, std::to_string(value)));
}
void LogStream::append_unsigned(std::uint64_t value, std::size_t width) noexcept {
  append(this, typed('u', width, std::to_string(value)));
}
void LogStream::append_float(float value) noexcept { append(this, "float:" + std::to_string(value)); }
void LogStream::append_double(double value) noexcept { append(this, "double:" + std::to_string(value)); }
void LogStream::append_text(std::string_view text) noexcept { append(this, script::piece(text)); }

}  // namespace ara::log
