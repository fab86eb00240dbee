// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_MANIFEST_MACHINE_MANIFEST_H
#define PLATFORM_SRC_MANIFEST_MACHINE_MANIFEST_H

#include <string>

#include "platform/src/manifest/node.h"

namespace linux_platform::manifest {

/// The machine manifest: one JSON file that says of every process of the machine where it lives on the network, which
/// application its writes count for, and how the platform's clusters are set. Each cluster reads its own part.
class Machine_manifest {
 public:
  /// Reads and checks the file. `process` is the name of the entry that is this process's own, `origin` says where that
  /// name comes from, for the error. Checked here: the members of the top level and every entry under "processes".
  /// Manifest_error when the file cannot be read, is not JSON, fails that check, or has no such entry (naming both).
  Machine_manifest(std::string const& file, std::string const& process, std::string const& origin = "as asked for");

  /// The manifest of this process, read on first use: the file that ARA_MACHINE_MANIFEST names, else
  /// /etc/ara/machine.json; the entry that ARA_PROCESS names, else the executable's file name. A failure is thrown to
  /// its caller, and the next caller tries again. Safe from any thread.
  static Machine_manifest const& of_this_process();

  Node const& root() const noexcept { return root_; }
  /// The entry of this process under "processes".
  Node const& process() const noexcept { return process_; }
  std::string const& process_name() const noexcept { return process_name_; }
  /// The application id under which this process's writes count: "application_id" of its entry.
  std::string const& application_id() const noexcept { return application_id_; }

 private:
  std::string process_name_;
  Node root_;
  Node process_;
  std::string application_id_;
};

}  // namespace linux_platform::manifest

#endif
