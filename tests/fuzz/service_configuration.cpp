// SPDX-License-Identifier: Apache-2.0
// The service's configuration file: what it reads is usable, and does not depend on how the JSON is written.
#include <exception>
#include <memory>
#include <optional>
#include <tuple>

#include <nlohmann/json.hpp>

#include "flashwatch/config/config_reader.h"
#include "flashwatch/config/file_reader.h"
#include "flashwatch/config/periodic_logging_conf.h"
#include "tests/fuzz/fuzz.h"

namespace {

using namespace orvel::flashwatch::diagnostics;
using Settings = std::tuple<std::string, boost::optional<std::string>, boost::optional<std::chrono::minutes>>;

std::optional<Settings> read(std::string const& text) {
  fuzz::Memory_file const file(text);
  try {
    Config_reader const reader(file.path(), std::make_unique<File_reader>());
    return Settings{reader.get_pm_instance_id(), reader.get_own_instance_id(), reader.get_log_period()};
  } catch (std::exception const&) {
    return std::nullopt;
  }
}

}  // namespace

void fuzz::check(Input input) {
  std::string const text = input.text();
  auto const settings = read(text);
  if (!settings) {
    return;
  }
  auto const& [pm_instance, own_instance, log_period] = *settings;
  fuzz::require(!pm_instance.empty() && own_instance != std::string(), "no instance id is empty");
  Periodic_logging_conf const conf(log_period);
  fuzz::require(conf.get_period().count() >= 1 && conf.get_period().count() <= 1440, "a period is 1 to 1440 minutes");
  fuzz::require(conf.is_enabled() == (!log_period || log_period->count() > 0), "a period above 0 enables logging");
  fuzz::require(read(nlohmann::json::parse(text).dump(2)) == settings, "another spelling means the same");
}
