// SPDX-License-Identifier: Apache-2.0
#include "platform/src/manifest/own_entry.h"

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "platform/src/manifest/document.h"
#include "platform/src/manifest/node.h"

namespace linux_platform::manifest {

namespace {

std::string_view environment(char const* name) {
  char const* const value = std::getenv(name);
  return value == nullptr ? std::string_view{} : std::string_view(value);
}

}  // namespace

Own_entry own_entry() {
  std::string_view const named_file = environment("ARA_MACHINE_MANIFEST");
  std::string file(named_file.empty() ? default_manifest_file : named_file);

  std::string_view const named_process = environment("ARA_PROCESS");
  if (!named_process.empty()) {
    return {std::move(file), std::string(named_process), "the value of ARA_PROCESS"};
  }
  std::error_code error;
  std::filesystem::path const executable = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) {
    throw Manifest_error(complaint(file, "",
                                   "cannot be used: ARA_PROCESS is not set, and the executable's name cannot be read "
                                   "from /proc/self/exe: " +
                                       error.message()));
  }
  return {std::move(file), executable.filename().string(), "the executable's file name; ARA_PROCESS is not set"};
}

}  // namespace linux_platform::manifest
