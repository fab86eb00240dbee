// SPDX-License-Identifier: Apache-2.0
// The SCID mapping: the service, which asks by name, and the tester's tool, which asks by SCID, read the same from it.
#include <algorithm>
#include <memory>

#include <nlohmann/json.hpp>

#include "flashwatch/config/application_scid_converter.h"
#include "flashwatch/config/file_reader.h"
#include "machine/flashwatch_read/printable.h"
#include "machine/flashwatch_read/scid_names.h"
#include "tests/fuzz/fuzz.h"

void fuzz::check(Input input) {
  std::string const text = input.text();
  fuzz::Memory_file const file(text);
  orvel::flashwatch::diagnostics::Application_scid_converter const service(
      file.path(), std::make_unique<orvel::flashwatch::diagnostics::File_reader>());
  auto const tool = flashwatch_read::Scid_names::from_text(text, file.path());
  fuzz::require(fuzz::is_one_plain_line(tool.problem()), "what is wrong with a file is told in one line");

  auto const document = nlohmann::json::parse(text, nullptr, false);
  if (!document.is_object() || document.count("mappings") == 0) {
    fuzz::require(!tool.usable(), "a file without mappings is not usable");
    return;
  }
  for (auto const& entry : document.at("mappings")) {
    if (!entry.is_object() || entry.count("app_name") == 0 || !entry.at("app_name").is_string()) {
      continue;
    }
    auto const name = entry.at("app_name").get<std::string>();
    auto const scid = service.get_scid(name);
    auto const& names = tool.of(scid);
    // 0 also stands for a name that has none.
    fuzz::require(scid == 0 || std::count(names.begin(), names.end(), name) == 1, "the tool knows the service's SCID");
    for (auto const& known : names) {
      fuzz::require(service.get_scid(known) == scid, "the service knows the tool's name");
      fuzz::require(fuzz::is_one_plain_line(flashwatch_read::printable(known)), "a name can be shown");
    }
  }
}
