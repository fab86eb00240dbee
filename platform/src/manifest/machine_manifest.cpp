// SPDX-License-Identifier: Apache-2.0
#include "platform/src/manifest/machine_manifest.h"

#include <cstdint>
#include <map>
#include <optional>
#include <utility>

#include <nlohmann/json.hpp>

#include "platform/src/manifest/document.h"
#include "platform/src/manifest/own_entry.h"

namespace linux_platform::manifest {

namespace {

constexpr std::uint32_t first_unicast_address = 0x01000000;  // 1.0.0.0
constexpr std::uint32_t last_unicast_address = 0xDFFFFFFF;   // 223.255.255.255

Node root_of(std::string const& file) {
  auto document = read_document(file);
  nlohmann::json const& value = *document;
  Node root(std::move(document), value, file, "");
  root.allow_only({"processes", "persistency", "health", "communication", "diagnostics"});
  return root;
}

void check_processes(Node const& processes) {
  std::map<std::uint32_t, std::string> owners;
  for (auto const& [name, entry] : processes.members()) {
    entry.allow_only({"address", "application_id"});
    Node const address = entry.member("address");
    auto const [owner, is_new] =
        owners.emplace(address.ipv4_address("unicast address", first_unicast_address, last_unicast_address), name);
    if (!is_new) {
      address.refuse("is " + address.text() + ", which process " + in_quotes(owner->second) +
                     " has already: every process needs an address of its own");
    }
    Node const application_id = entry.member("application_id");
    if (application_id.text().empty()) {
      application_id.refuse("must not be empty");
    }
  }
}

Node entry_of(Node const& root, std::string const& process, std::string const& origin) {
  Node const processes = root.member("processes");
  check_processes(processes);
  std::optional<Node> entry = processes.find(process);
  if (!entry) {
    processes.refuse("has no entry for process " + in_quotes(process) + " (" + origin + ")");
  }
  return *std::move(entry);
}

}  // namespace

Machine_manifest::Machine_manifest(std::string const& file, std::string const& process, std::string const& origin)
    : process_name_(process),
      root_(root_of(file)),
      process_(entry_of(root_, process, origin)),
      application_id_(process_.member("application_id").text()) {}

Machine_manifest const& Machine_manifest::of_this_process() {
  static Machine_manifest const manifest = [] {
    Own_entry const own = own_entry();
    return Machine_manifest(own.file, own.process, own.origin);
  }();
  return manifest;
}

}  // namespace linux_platform::manifest
