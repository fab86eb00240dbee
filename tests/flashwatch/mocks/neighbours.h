// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_FLASHWATCH_MOCKS_NEIGHBOURS_H
#define TESTS_FLASHWATCH_MOCKS_NEIGHBOURS_H

#include <gmock/gmock.h>

#include "flashwatch/app/time_wrapper_if.h"
#include "flashwatch/config/application_scid_converter_if.h"
#include "flashwatch/reporting/stats_logger_if.h"
#include "flashwatch/stats/io_stats_provider_if.h"
#include "flashwatch/stats/persistent_storage_if.h"
#include "flashwatch/stats/stats_annual_supervision_if.h"

namespace orvel::flashwatch::diagnostics {

struct Io_stats_provider_mock : Io_stats_provider_if {
  using Statistics = std::map<std::string, persistency::KVS_io_stat>;
  MOCK_METHOD(Statistics, get_KVS_statistics, (), (const, override));
};

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

/// A clock that stands still; sleeping is left to the scripted platform.
struct Stopped_clock final : Time_wrapper_if {
  explicit Stopped_clock(std::time_t now) : now_(now) {}
  std::time_t get_current_time() const override { return now_; }
  unsigned sleep(std::chrono::seconds /*duration*/) const override { return 0; }
  std::time_t now_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
