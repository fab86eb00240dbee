// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_SCID_NAMES_H
#define MACHINE_FLASHWATCH_READ_SCID_NAMES_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace flashwatch_read {

/// The names that the service's mapping file gives to SCIDs. The service reads the file from name to SCID; here it is
/// turned round, so one SCID may have several names. Holds nothing when the file could not be used: names are a
/// convenience, and the figures are read without them.
class Scid_names {
 public:
  /// No names at all, for the given reason (one line; empty when nothing is wrong).
  explicit Scid_names(std::string problem = {}) : problem_{std::move(problem)} {}

  /// Reads `text` as the service does: the first entry of a name wins, negative SCIDs wrap, fractions are cut off, what
  /// lies outside 64 bits saturates, unusable entries are passed over. `file` is only for the texts. Never throws for
  /// bad text.
  static Scid_names from_text(std::string const& text, std::string const& file);
  /// As from_text, with the content of a file of at most 4 MiB.
  static Scid_names from_file(std::string const& path);

  /// All names of a SCID in ascending order, as they stand in the file: not yet fit for a terminal.
  std::vector<std::string> const& of(std::uint64_t scid) const;

  /// What is wrong with the file, in one line; empty when nothing is.
  std::string const& problem() const noexcept { return problem_; }
  /// Whether the file as a whole could be used.
  bool usable() const noexcept { return usable_; }

 private:
  std::map<std::uint64_t, std::vector<std::string>> names_;
  std::string problem_;
  bool usable_ = false;
};

}  // namespace flashwatch_read

#endif
