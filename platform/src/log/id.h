// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_ID_H
#define PLATFORM_SRC_LOG_ID_H

#include <string>
#include <string_view>

namespace linux_platform::log {

/// `id` as DLT can carry it: one to four visible ASCII characters. A longer one is cut, any other character becomes
/// '?', an empty one becomes "----"; then one line on standard error names `what` it was, the id and its replacement.
std::string mended_id(std::string_view what, std::string_view id);

}  // namespace linux_platform::log

#endif
