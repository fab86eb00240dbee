// SPDX-License-Identifier: Apache-2.0
// The service as it is, but for its log: only warnings and worse. The service's own set-up of the log comes second and
// is refused.
#include "ara/log/logging.h"
#include "flashwatch/app/run_application.h"

int main() {
  using ara::log::LogMode;
  ara::log::InitLogging("FLWT", "flashwatch", ara::log::LogLevel::kWarn, LogMode::kRemote | LogMode::kConsole, "");
  return orvel::flashwatch::run_application();
}
