// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/app/time_wrapper.h"

#include <cstdint>
#include <unistd.h>

namespace orvel::flashwatch::diagnostics {

std::time_t Time_wrapper::get_current_time() const { return ::time(nullptr); }

unsigned Time_wrapper::sleep(std::chrono::seconds duration) const {
  return ::sleep(static_cast<std::uint32_t>(duration.count()));
}

}  // namespace orvel::flashwatch::diagnostics
