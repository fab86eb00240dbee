// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/config/config_reader.h"

#include <exception>
#include <limits>
#include <stdexcept>

#include "ara/log/logging.h"
#include "flashwatch/config/json_number.h"

namespace orvel::flashwatch::diagnostics {

Config_reader::Config_reader(std::string const& path, std::unique_ptr<File_reader_if> file_reader) {
  // Assigned, not brace-initialised: compilers disagree on whether braces wrap a document in an array.
  document_ = nlohmann::json::parse(file_reader->get_content(path));
  pm_instance_id_ = read_instance_id(pm_instance_id_key_);
  read_own_instance_id();
  read_log_period();
}

boost::optional<std::chrono::minutes> Config_reader::get_log_period() const {
  if (!log_period_) {
    return boost::none;
  }
  return std::chrono::minutes(*log_period_);
}

std::string Config_reader::get_pm_instance_id() const { return pm_instance_id_; }

boost::optional<std::string> Config_reader::get_own_instance_id() const { return own_instance_id_; }

std::string Config_reader::read_instance_id(std::string const& key) const {
  auto id = document_.at(key).get<std::string>();
  if (id.empty()) {
    throw std::runtime_error("Empty " + key + " in configuration file");
  }
  return id;
}

void Config_reader::read_own_instance_id() {
  try {
    own_instance_id_ = read_instance_id(own_instance_id_key_);
  } catch (std::exception const& error) {
    ara::log::LogWarn() << "Exception:" << error.what() << "caught while reading parameter" << own_instance_id_key_;
  }
}

void Config_reader::read_log_period() {
  try {
    using Range = std::numeric_limits<std::int64_t>;
    std::int64_t const minutes = to_signed(document_.at(log_period_key_));
    if (minutes == Range::max() || minutes == Range::min()) {
      throw std::out_of_range("Value " + std::to_string(minutes) + "out of range");
    }
    log_period_ = minutes;
  } catch (std::exception const& error) {
    ara::log::LogDebug() << "Exception:" << error.what() << "caught while reading parameter" << log_period_key_;
  }
}

}  // namespace orvel::flashwatch::diagnostics
