// SPDX-License-Identifier: Apache-2.0
#include "platform/src/manifest/machine_manifest.h"

#include <arpa/inet.h>
#include <cstdint>
#include <map>
#include <netinet/in.h>
#include <optional>
#include <utility>

#include <nlohmann/json.hpp>

#include "platform/src/manifest/document.h"
#include "platform/src/manifest/own_entry.h"

namespace linux_platform::manifest {

namespace {

Node root_of(std::string const& file) {
  auto document = read_document(file);
  nlohmann::json const& value = *document;
  Node root(std::move(document), value, file, "");
  root.allow_only({"processes", "persistency", "health", "communication", "diagnostics"});
  return root;
}

/// In host byte order.
std::uint32_t unicast_address(Node const& node) {
  std::string const text = node.text();
  in_addr address{};
  // A NUL inside the text would hide what follows it from inet_pton.
  if (text.find('\0') == std::string::npos && inet_pton(AF_INET, text.c_str(), &address) == 1) {
    std::uint32_t const value = ntohl(address.s_addr);
    if ((value >> 24U) != 0 && (value >> 28U) < 0xEU) {
      return value;
    }
  }
  node.refuse("must be an IPv4 unicast address, but is the text " + in_quotes(text));
}

void check_processes(Node const& processes) {
  std::map<std::uint32_t, std::string> owners;
  for (auto const& [name, entry] : processes.members()) {
    entry.allow_only({"address", "application_id"});
    Node const address = entry.member("address");
    auto const [owner, is_new] = owners.emplace(unicast_address(address), name);
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
