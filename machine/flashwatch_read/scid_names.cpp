// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/scid_names.h"

#include <cerrno>
#include <cmath>
#include <fstream>
#include <limits>
#include <optional>
#include <system_error>

#include <nlohmann/json.hpp>

namespace flashwatch_read {
namespace {

constexpr std::size_t max_file_bytes = std::size_t{4} * 1024 * 1024;

std::uint64_t from_floating(double value) {
  constexpr double two_to_64 = 18446744073709551616.0;
  if (value >= two_to_64) {
    return std::numeric_limits<std::uint64_t>::max();
  }
  return value > 0 ? static_cast<std::uint64_t>(value) : 0;
}

std::optional<std::uint64_t> scid_of(nlohmann::json const& value) {
  if (value.is_number_float()) {
    return from_floating(value.get<double>());
  }
  if (value.is_number_integer()) {
    return value.get<std::uint64_t>();  // a negative number wraps
  }
  return std::nullopt;
}

/// The names by name, as the service holds them, and how many entries were unusable.
struct Mapping {
  std::map<std::string, std::uint64_t> scids;
  std::size_t unusable = 0;
};

Mapping read_mapping(nlohmann::json const& entries) {
  Mapping mapping;
  for (auto const& entry : entries) {
    auto const* const object = entry.is_object() ? &entry : nullptr;
    auto const name = object != nullptr ? object->find("app_name") : entry.end();
    auto const scid = object != nullptr ? object->find("scid") : entry.end();
    if (name == entry.end() || scid == entry.end() || !name->is_string() || !scid_of(*scid)) {
      ++mapping.unusable;
      continue;
    }
    mapping.scids.emplace(name->get<std::string>(), *scid_of(*scid));
  }
  return mapping;
}

std::string without_names(std::string const& file, std::string const& why) {
  return "Names are missing: mapping file " + file + ' ' + why + '.';
}

}  // namespace

Scid_names Scid_names::from_text(std::string const& text, std::string const& file) {
  auto const document = nlohmann::json::parse(text, nullptr, false);
  if (document.is_discarded()) {
    return Scid_names{without_names(file, "is not valid JSON")};
  }
  if (!document.is_object() || document.count("mappings") == 0) {
    return Scid_names{without_names(file, R"(has no member "mappings")")};
  }
  auto const mapping = read_mapping(document.at("mappings"));
  Scid_names names;
  names.usable_ = true;
  for (auto const& [name, scid] : mapping.scids) {
    names.names_[scid].push_back(name);
  }
  if (mapping.unusable > 0) {
    names.problem_ = "Mapping file " + file + ": " + std::to_string(mapping.unusable) +
                     (mapping.unusable == 1 ? " entry is" : " entries are") +
                     R"( unusable (each needs "app_name", a text, and "scid", a number).)";
  }
  return names;
}

Scid_names Scid_names::from_file(std::string const& path) {
  std::ifstream file{path, std::ios::binary};
  if (!file) {
    return Scid_names{without_names(path, "cannot be opened (" + std::generic_category().message(errno) + ')')};
  }
  std::string text(max_file_bytes + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (file.bad()) {
    return Scid_names{without_names(path, "cannot be read")};
  }
  text.resize(static_cast<std::size_t>(file.gcount()));
  if (text.size() > max_file_bytes) {
    return Scid_names{without_names(path, "is larger than 4 MiB")};
  }
  return from_text(text, path);
}

std::vector<std::string> const& Scid_names::of(std::uint64_t scid) const {
  static std::vector<std::string> const none;
  auto const found = names_.find(scid);
  return found == names_.end() ? none : found->second;
}

}  // namespace flashwatch_read
