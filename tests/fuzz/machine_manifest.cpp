// SPDX-License-Identifier: Apache-2.0
// The machine manifest and every part of it: whatever is wrong ends in a Manifest_error with one line of bounded
// length.
#include <nlohmann/json.hpp>

#include "machine/diagnostic_manager/settings/settings.h"
#include "machine/persistency_statistics/budgets.h"
#include "platform/src/com/runtime/settings.h"
#include "platform/src/per/settings.h"
#include "platform/src/phm/checkpoint_window.h"
#include "tests/fuzz/fuzz.h"

namespace {

constexpr char const* process = "p";
constexpr std::size_t longest_complaint = 8192;

/// One letter for each part that can be read.
std::string readable_parts(std::string const& text) {
  fuzz::Memory_file const file(text);
  std::string parts;
  auto const part = [&](char letter, auto const& read) {
    try {
      read();
      parts += letter;
    } catch (linux_platform::manifest::Manifest_error const& error) {
      std::string const complaint = error.what();
      fuzz::require(complaint.rfind("machine manifest " + file.path(), 0) == 0, "a complaint names the file");
      fuzz::require(fuzz::is_one_plain_line(complaint), "a complaint is one line");
      fuzz::require(complaint.size() <= longest_complaint, "a complaint has a bounded length");
    }
  };
  part('m', [&] {
    linux_platform::manifest::Machine_manifest const machine(file.path(), process);
    fuzz::require(!machine.application_id().empty(), "an application id is not empty");
    part('c', [&] {
      auto const settings = linux_platform::com::read_settings(machine);
      fuzz::require(settings.limits.message_bytes >= 16 && settings.limits.connections > 0, "limits leave room");
      part('d', [&] { machine::diagnostic_manager::read_settings(machine.root(), settings.address.to_string()); });
    });
    part('p', [&] { linux_platform::per::Per_settings::read(machine.root().member("persistency")); });
    part('b', [&] { persistency_statistics::Budgets(machine.root().member("persistency")).of("p"); });
    part('h', [&] {
      auto const window = linux_platform::phm::checkpoint_window(machine, "p");
      fuzz::require(window >= linux_platform::phm::min_checkpoint_window, "a window is longer than nothing");
    });
  });
  return parts;
}

}  // namespace

void fuzz::check(Input input) {
  std::string const text = input.text();
  std::string const parts = readable_parts(text);
  if (!parts.empty()) {
    fuzz::require(readable_parts(nlohmann::json::parse(text).dump(1)) == parts, "another spelling means the same");
  }
}
