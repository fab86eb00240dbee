// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_CONFIG_APPLICATION_SCID_CONVERTER_H
#define FLASHWATCH_CONFIG_APPLICATION_SCID_CONVERTER_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "flashwatch/config/application_scid_converter_if.h"
#include "flashwatch/config/file_reader_if.h"

namespace orvel::flashwatch::diagnostics {

/// The table of a JSON file {"mappings": [{"app_name": text, "scid": number}, ...]}, read and logged once at
/// construction. The first entry of a name counts. A bad entry is skipped, a bad file gives an empty table, each with
/// a warning.
class Application_scid_converter final : public Application_scid_converter_if {
 public:
  Application_scid_converter(std::string const& path, std::unique_ptr<File_reader_if> file_reader);

  std::uint64_t get_scid(std::string const& app_name) const override;

 private:
  void read_scid_mapping(std::string const& path, std::unique_ptr<File_reader_if> file_reader);
  void convert_to_map(nlohmann::json const& document);
  void log_scid_mapping() const;

  std::map<std::string, std::uint64_t> mapping_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
