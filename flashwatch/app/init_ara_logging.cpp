// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/app/init_ara_logging.h"

#include "ara/log/logging.h"

namespace orvel::flashwatch {

void init_ara_logging() noexcept {
  using ara::log::LogMode;
  ara::log::InitLogging("FLWT", "flashwatch", ara::log::LogLevel::kVerbose, LogMode::kRemote | LogMode::kConsole, "");
}

}  // namespace orvel::flashwatch
