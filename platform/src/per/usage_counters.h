// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_USAGE_COUNTERS_H
#define PLATFORM_SRC_PER_USAGE_COUNTERS_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/src/per/descriptor.h"
#include "platform/src/per/file_rights.h"
#include "platform/src/per/mapped_words.h"
#include "platform/src/per/usage_file.h"
#include "platform/src/per/write_meter_if.h"

namespace linux_platform::per {

/// The counters of one storage, shared through a file in the run directory (see Usage_file), which outlives the
/// process but not the machine's restart. The lock on that file is what keeps a storage to one process at a time.
///
/// Counted through a memory mapping: a commit of 15 values counts some 25 times, and as many system calls would be a
/// twentieth of its time. Only the owner may write to the file, so nobody else can cut it off.
class Usage_counters final : public Write_meter_if {
 public:
  /// Opens the file, and makes or repairs it. Waits up to `lock_wait` while another process has the storage open.
  /// ExceptionStorageLocationNotFound when the file cannot be opened, ExceptionPhysicalStorageError when it cannot be
  /// written or stays locked.
  Usage_counters(std::string const& file, File_rights const& rights, std::chrono::milliseconds lock_wait);

  /// Says which store the counters are of, and what totals it holds. Counters of another store, or behind the stored
  /// totals, start over; others go on, as the store was left without a last commit.
  void attach(std::uint64_t store_id, Usage const& stored);

  void written(std::uint64_t bytes) noexcept override;
  void value_read(std::uint64_t bytes) noexcept;
  void value_set() noexcept;

  Usage total() const noexcept { return content_.total(); }

  /// Lets the session of every storage that has its counters in `folder` end, but for those that a living process has
  /// open: the application's process begins a new one.
  static void end_sessions(std::string const& folder);

 private:
  void lock(std::string const& file, std::chrono::milliseconds wait) const;
  void repair(File_rights const& rights, std::string const& file);

  Descriptor file_;
  std::optional<Mapped_words> words_;  ///< there once the constructor is done
  Usage_file content_;
  /// What the file had counted before this object.
  Usage run_before_;
};

}  // namespace linux_platform::per

#endif
