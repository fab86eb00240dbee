// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/config/application_scid_converter.h"

#include <exception>
#include <utility>

#include <nlohmann/json.hpp>

#include "ara/log/logging.h"
#include "flashwatch/config/json_number.h"

namespace orvel::flashwatch::diagnostics {

Application_scid_converter::Application_scid_converter(std::string const& path,
                                                       std::unique_ptr<File_reader_if> file_reader) {
  try {
    read_scid_mapping(path, std::move(file_reader));
  } catch (std::exception const& error) {
    ara::log::LogWarn() << "Exception:" << error.what() << "caught while reading scid mapping";
  }
  log_scid_mapping();
}

std::uint64_t Application_scid_converter::get_scid(std::string const& app_name) const {
  auto const found = mapping_.find(app_name);
  if (found == mapping_.end()) {
    ara::log::LogWarn() << "SCID mapping for" << app_name << "not found, returning default value (0)";
    return 0;
  }
  return found->second;
}

void Application_scid_converter::read_scid_mapping(std::string const& path,
                                                   std::unique_ptr<File_reader_if> file_reader) {
  auto const document = nlohmann::json::parse(file_reader->get_content(path));
  convert_to_map(document);
}

void Application_scid_converter::convert_to_map(nlohmann::json const& document) {
  for (auto const& entry : document.at("mappings")) {
    try {
      auto app_name = entry.at("app_name").get<std::string>();
      std::uint64_t const scid = to_unsigned(entry.at("scid"));
      mapping_.emplace(std::move(app_name), scid);
    } catch (std::exception const& error) {
      ara::log::LogWarn() << "Exception:" << error.what() << "caught while reading mapping entry";
    }
  }
}

void Application_scid_converter::log_scid_mapping() const {
  ara::log::LogDebug() << "SCID mapping of applications loaded, content:";
  for (auto const& [app_name, scid] : mapping_) {
    ara::log::LogDebug() << "Application ID:" << app_name << "SCID:" << scid;
  }
}

}  // namespace orvel::flashwatch::diagnostics
