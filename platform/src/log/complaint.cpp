// SPDX-License-Identifier: Apache-2.0
#include "platform/src/log/complaint.h"

#include <unistd.h>

#include "platform/src/log/console_line.h"
#include "platform/src/log/nonblocking_output.h"

namespace linux_platform::log {

void complain(std::initializer_list<std::string_view> parts) noexcept {
  Console_line line;
  line.append_text("ara::log: ");
  for (auto const part : parts) {
    line.append_text(part);
  }
  Nonblocking_output(STDERR_FILENO).write(line.finish());
}

}  // namespace linux_platform::log
