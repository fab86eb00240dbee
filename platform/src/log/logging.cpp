// SPDX-License-Identifier: Apache-2.0
#include "ara/log/logging.h"

#include <array>
#include <charconv>
#include <utility>

#include "platform/src/log/blocked_signals.h"
#include "platform/src/log/complaint.h"
#include "platform/src/log/id.h"
#include "platform/src/log/log_core.h"

namespace ara::log {

namespace {

using linux_platform::log::Log_core;

constexpr auto available_modes = LogMode::kRemote | LogMode::kConsole;

std::string hexadecimal(unsigned value) {
  std::array<char, 8> digits{};
  auto const* const end = std::to_chars(digits.begin(), digits.end(), value, 16).ptr;
  return "0x" + std::string(digits.cbegin(), end);
}

void refuse_other_modes(LogMode mode) {
  auto const refused = static_cast<unsigned>(mode) & ~static_cast<unsigned>(available_modes);
  if (refused != 0) {
    linux_platform::log::complain({"log mode ", hexadecimal(refused),
                                   contains(mode, LogMode::kFile) ? " (kFile is 0x2)" : "",
                                   " is not available on this platform; only kRemote (0x1) and kConsole (0x4) are"});
  }
}

}  // namespace

// directory_path belongs to kFile.
// NOLINTBEGIN(performance-unnecessary-value-param): the platform's signatures
void InitLogging(std::string application_id, std::string application_description, LogLevel default_level, LogMode mode,
                 std::string /*directory_path*/) {
  refuse_other_modes(mode);
  Log_core::instance().initialise({std::move(application_id), std::move(application_description), default_level, mode});
}

Logger& CreateLogger(std::string context_id, std::string context_description) {
  auto const id = linux_platform::log::mended_id("context id", context_id);
  return Log_core::instance().context(id, std::move(context_description)).logger();
}

// NOLINTEND(performance-unnecessary-value-param)

Logger& DefaultLogger() noexcept { return Log_core::instance().default_context().logger(); }

}  // namespace ara::log
