// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/reporting/stats_logger.h"

#include <cstdint>
#include <locale>
#include <sstream>
#include <string>
#include <string_view>

#include "ara/log/logging.h"

namespace orvel::flashwatch::diagnostics {
namespace {

constexpr std::string_view context_id = "DATA";
constexpr std::string_view context_description = "Logging context for statistics data";

template <typename Number>
std::string pair_text(std::string_view label, Number first, Number second) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << label << "(" << first << ", " << second << ")";
  return text.str();
}

/// What is left of `limit`; negative when more was written.
std::int64_t remainder(std::uint64_t limit, std::uint64_t written) {
  return static_cast<std::int64_t>(limit - written);
}

void write_line(ara::log::LogStream&& line, Stat_record const& record) {
  line << record.application_id << pair_text("session", record.session_write, record.session_setvalue)
       << pair_text("total", record.total_write, record.total_setvalue)
       << pair_text("budget", remainder(record.acc_limits.soft, record.total_write),
                    remainder(record.acc_limits.hard, record.total_write));
}

}  // namespace

Stats_logger::Stats_logger()
    : logger_(ara::log::CreateLogger(std::string(context_id), std::string(context_description))) {}

void Stats_logger::info_log_stats(std::vector<Stat_record> const& records) {
  log_limits_once(records);
  for (auto const& record : records) {
    write_line(logger_.LogInfo(), record);
  }
}

void Stats_logger::debug_log_stats(std::vector<Stat_record> const& records) {
  // The texts cost more than the line, and diagnostic requests come often: none are made when nobody wants them.
  if (!logger_.IsLogEnabled(ara::log::LogLevel::kDebug)) {
    return;
  }
  for (auto const& record : records) {
    write_line(logger_.LogDebug(), record);
  }
}

void Stats_logger::log_limits_once(std::vector<Stat_record> const& records) {
  std::call_once(limits_logged_, [this, &records] {
    for (auto const& record : records) {
      log_limits(record);
    }
  });
}

void Stats_logger::log_limits(Stat_record const& record) {
  logger_.LogInfo() << record.application_id
                    << pair_text("year limits", record.year_limits.soft, record.year_limits.hard)
                    << pair_text("acc limits", record.acc_limits.soft, record.acc_limits.hard)
                    << "year in use(" + std::to_string(record.years_in_use) + ")";
}

}  // namespace orvel::flashwatch::diagnostics
