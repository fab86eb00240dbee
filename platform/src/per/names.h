// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_NAMES_H
#define PLATFORM_SRC_PER_NAMES_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace linux_platform::per {

/// What follows a storage's escaped name: the store itself, its write-ahead log, a store in the making, its counters.
inline constexpr std::string_view store_suffix = ".db";
inline constexpr std::string_view log_suffix = "-wal";
inline constexpr std::string_view unfinished_suffix = "-new";
inline constexpr std::string_view counters_suffix = ".counters";

/// The longest escaped name in bytes: with every suffix it stays within the 255 bytes of a file name.
inline constexpr std::size_t longest_escaped_name = 240;

/// `name` as a file name: letters, digits, '_', '-' and '.' (not in front) stay, every other byte becomes %XX in
/// upper-case hexadecimal, and the empty name becomes "%". Different names give different file names.
std::string escape(std::string_view name);

/// The name that `escape` made `file_name` from; nothing when it made no such file name.
std::optional<std::string> unescape(std::string_view file_name);

/// `text` for an error message: control bytes, quotes and bytes beyond ASCII as \xXX, cut to 80 bytes with a mark.
std::string printable(std::string_view text);

}  // namespace linux_platform::per

#endif
