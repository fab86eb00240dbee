// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <map>
#include <mutex>
#include <utility>

#ifdef __clang__  // the stream's own buffer is of no use here
#pragma clang diagnostic ignored "-Wunused-private-field"
#endif
#include "ara/log/logging.h"
#include "tests/scripted_platform/script.h"

namespace ara::log {
namespace {

constexpr std::array levels{"off", "fatal", "error", "warn", "info", "debug", "verbose"};

std::mutex mutex;
/// The pieces of the records under construction. A stream stays where it was made, so its address is its name.
std::map<LogStream const*, std::string> open_records;

void insert(LogStream const* stream, std::string const& piece) {
  std::lock_guard const lock(mutex);
  open_records[stream] += " " + piece;
}

}  // namespace

void InitLogging(std::string application_id, std::string application_description, LogLevel default_level, LogMode mode,
                 std::string directory_path) {
  script::call("log.InitLogging", application_id + ", " + application_description + ", " +
                                      levels.at(static_cast<std::size_t>(default_level)) + ", mode " +
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
    auto const& context = logger_->context_id();
    script::note(levels.at(static_cast<std::size_t>(level_)) + (context.empty() ? "" : " " + context) +
                 record.mapped());
  }
}

void LogStream::append_signed(std::int64_t value, std::size_t width) noexcept {
  insert(this, "i" + std::to_string(8 * width) + ":" + std::to_string(value));
}
void LogStream::append_unsigned(std::uint64_t value, std::size_t width) noexcept {
  insert(this, "u" + std::to_string(8 * width) + ":" + std::to_string(value));
}
void LogStream::append_text(std::string_view text) noexcept { insert(this, "'" + std::string(text) + "'"); }

}  // namespace ara::log
