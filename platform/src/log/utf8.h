// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_UTF8_H
#define PLATFORM_SRC_LOG_UTF8_H

#include <cstddef>
#include <string_view>

namespace linux_platform::log {

/// Bytes of the UTF-8 character that `text` starts with (RFC 3629: no overlong forms, no surrogates, at most U+10FFFF),
/// or 0 when it starts with none.
std::size_t utf8_character_length(std::string_view text) noexcept;

/// The largest length up to `limit` at which `text` can be cut without splitting a character. `limit` <= text.size().
/// In bytes that are no UTF-8 at all, `limit` itself.
std::size_t utf8_cut_length(std::string_view text, std::size_t limit) noexcept;

}  // namespace linux_platform::log

#endif
