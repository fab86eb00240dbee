// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_SAMPLE_APPLICATIONS_WORKLOAD_H
#define MACHINE_SAMPLE_APPLICATIONS_WORKLOAD_H

#include <chrono>
#include <cstdint>

#include "ara/per/key_value_storage.h"

namespace sample_applications {

/// What a sample application writes, and how often.
struct Workload {
  /// For the log: one to four ASCII characters, and what they stand for.
  char const* log_id;
  char const* description;
  /// Name of the application's key-value storage.
  char const* storage;
  /// The first syncs in the life of the storage follow one another quickly; a restart does not begin them again.
  std::uint64_t quick_syncs;
  std::chrono::milliseconds quick_interval;
  /// All later ones.
  std::chrono::milliseconds interval;
  /// Sets the values of one sync; `count` is the number of syncs before it in the life of the storage.
  void (*set_values)(ara::per::KeyValueStorageBase& storage, std::uint64_t count);
};

}  // namespace sample_applications

#endif
