// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_FLASHWATCH_MOCKS_NEIGHBOURS_H
#define TESTS_FLASHWATCH_MOCKS_NEIGHBOURS_H

#include <gmock/gmock.h>

#include "flashwatch/app/time_wrapper_if.h"
#include "flashwatch/config/application_scid_converter_if.h"
#include "flashwatch/config/file_reader_if.h"
#include "flashwatch/reporting/stats_logger_if.h"
#include "flashwatch/stats/persistent_storage_if.h"
#include "flashwatch/stats/stats_annual_supervision_if.h"

namespace orvel::flashwatch::diagnostics {

struct Persistent_storage_mock : Persistent_storage_if {
  MOCK_METHOD(std::optional<Entry>, read, (std::string const&), (const, noexcept, override));
  MOCK_METHOD(void, create, (std::string const&, Entry const&), (override));
  MOCK_METHOD(void, update, (std::string const&, Entry const&), (override));
  MOCK_METHOD(void, sync_to_storage, (), (override));
};

struct Stats_annual_supervision_mock : Stats_annual_supervision_if {
  MOCK_METHOD(std::vector<Stat_record>, get_stats, (), (override));
  MOCK_METHOD(std::vector<Stat_record>, get_stats_safe, (), (override));
};

struct Stats_logger_mock : Stats_logger_if {
  MOCK_METHOD(void, info_log_stats, (std::vector<Stat_record> const&), (override));
  MOCK_METHOD(void, debug_log_stats, (std::vector<Stat_record> const&), (override));
};

struct Application_scid_converter_mock : Application_scid_converter_if {
  MOCK_METHOD(std::uint64_t, get_scid, (std::string const&), (const, override));
};

/// A file reader that has this text for every path.
struct Text_reader final : File_reader_if {
  explicit Text_reader(std::string text) : text_(std::move(text)) {}
  std::string get_content(std::string const& /*path*/) const override { return text_; }
  std::string text_;
};

/// A clock that stands still; sleeping is the scripted platform's.
struct Stopped_clock final : Time_wrapper_if {
  explicit Stopped_clock(std::time_t now) : now_(now) {}
  std::time_t get_current_time() const override { return now_; }
  unsigned sleep(std::chrono::seconds /*duration*/) const override { return 0; }
  std::time_t now_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
