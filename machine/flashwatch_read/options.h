// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_OPTIONS_H
#define MACHINE_FLASHWATCH_READ_OPTIONS_H

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "machine/flashwatch_read/amounts.h"
#include "machine/flashwatch_read/doip_session.h"
#include "machine/flashwatch_read/tcp_stream.h"

namespace flashwatch_read {

/// What the command line asks for.
struct Options {
  Remote remote{"127.0.20.3", 13400};
  Tester_settings tester;
  std::string mapping_file = "/etc/scid_mapping.json";
  Amount_style amounts = Amount_style::units;
  bool json = false;
  std::optional<std::chrono::milliseconds> watch;  ///< the interval
  bool help = false;
  bool version = false;
};

/// The command line cannot be understood: one line that says why.
class Usage_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// `arguments` as of main, the program's name first. Throws Usage_error. Uses getopt, so one thread at a time.
Options parse_options(std::vector<std::string> arguments);

/// What --help prints.
std::string help_text();

}  // namespace flashwatch_read

#endif
