// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_LOG_COMPLAINT_H
#define PLATFORM_SRC_LOG_COMPLAINT_H

#include <initializer_list>
#include <string_view>

namespace linux_platform::log {

/// Writes one line about the log itself to standard error: "ara::log: " and the parts, control characters escaped.
/// Never blocks; a line that cannot be written at once is dropped.
void complain(std::initializer_list<std::string_view> parts) noexcept;

}  // namespace linux_platform::log

#endif
