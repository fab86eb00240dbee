// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_CONFIG_CONFIG_READER_H
#define FLASHWATCH_CONFIG_CONFIG_READER_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include <boost/optional.hpp>
#include <nlohmann/json.hpp>

#include "flashwatch/config/config_reader_if.h"
#include "flashwatch/config/file_reader_if.h"

namespace orvel::flashwatch::diagnostics {

/// The settings of the service's configuration file, a JSON object, read once at construction:
///   "pm_instance_id"  text, not empty; required
///   "own_instance_id" text, not empty; a warning and no value otherwise
///   "log_period"      number, minutes; a debug line and no value otherwise
/// Other members are ignored.
class Config_reader final : public Config_reader_if {
 public:
  /// Throws what `file_reader` throws, std::runtime_error for an empty "pm_instance_id", and the JSON library's
  /// exceptions when it is missing or not a text or when the document is not an object.
  Config_reader(std::string const& path, std::unique_ptr<File_reader_if> file_reader);

  boost::optional<std::chrono::minutes> get_log_period() const override;
  std::string get_pm_instance_id() const override;
  boost::optional<std::string> get_own_instance_id() const override;

 private:
  std::string read_instance_id(std::string const& key) const;
  void read_own_instance_id();
  void read_log_period();

  std::string log_period_key_ = "log_period";
  std::string pm_instance_id_key_ = "pm_instance_id";
  std::string own_instance_id_key_ = "own_instance_id";
  boost::optional<std::int64_t> log_period_;
  std::string pm_instance_id_;
  boost::optional<std::string> own_instance_id_;
  nlohmann::json document_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
