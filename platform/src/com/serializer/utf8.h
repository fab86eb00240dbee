// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_SERIALIZER_UTF8_H
#define PLATFORM_SRC_COM_SERIALIZER_UTF8_H

#include <string_view>

namespace linux_platform::com {

/// Whether `text` is well-formed UTF-8 (RFC 3629): no overlong forms, no surrogates, nothing above U+10FFFF.
bool is_utf8(std::string_view text) noexcept;

}  // namespace linux_platform::com

#endif
