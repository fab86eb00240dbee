// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_STATS_ENTRY_CODEC_H
#define FLASHWATCH_STATS_ENTRY_CODEC_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "flashwatch/stats/persistent_storage_if.h"

namespace orvel::flashwatch::diagnostics {

// A persisted record, little-endian on every host:
//   offset  size  field
//        0     8  time_of_first_use, two's complement
//        8     8  limits.soft
//       16     8  limits.hard
//       24     4  years_in_use
//       28     4  reserved: written as zero, ignored when read
constexpr std::size_t entry_size = 32;
using Entry_bytes = std::array<std::uint8_t, entry_size>;

Entry_bytes encode(Persistent_storage_if::Entry const& entry);
Persistent_storage_if::Entry decode(Entry_bytes const& bytes);

}  // namespace orvel::flashwatch::diagnostics

#endif
