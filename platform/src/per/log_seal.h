// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_LOG_SEAL_H
#define PLATFORM_SRC_PER_LOG_SEAL_H

#include <cstdint>
#include <optional>
#include <string>

#include "platform/src/per/store_vfs.h"

namespace linux_platform::per {

/// What closes a write-ahead log that stays behind when its store is closed in good order.
///
/// SQLite reads a log up to the first frame that is not valid: rightly, as a commit that a power cut interrupted looks
/// just so. A bit that flipped in a finished commit looks the same, and would bring back the state before it without a
/// word. The seal says how far the log was finished. It stands where the next frame will be written, so that the next
/// commit removes it, and in a block that is in use anyway:
///
///   seal = mark (8 bytes) frames (8) salts of the log (8) crc of the log up to here (4) crc of the seal (4)
///
/// Numbers are little-endian; the salts are copied as they stand in the log's header.
struct Log_seal {
  /// Seals the log of store `file` after that many frames. A failure leaves it without a seal, which is in order too.
  static void write(std::string const& file, std::uint32_t frames, Store_vfs& vfs);
  /// What is wrong with the log of store `file`; nothing when it is as it was sealed, not sealed, or not there.
  static std::optional<std::string> check(std::string const& file, Store_vfs& vfs);
};

}  // namespace linux_platform::per

#endif
