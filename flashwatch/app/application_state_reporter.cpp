// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/app/application_state_reporter.h"

#include <cstdint>

#include "ara/log/logging.h"

namespace orvel::flashwatch::diagnostics {

using ara::exec::ApplicationState;

void Application_state_reporter::report_running() { report_app_state(ApplicationState::kRunning); }

void Application_state_reporter::report_terminating() { report_app_state(ApplicationState::kTerminating); }

void Application_state_reporter::report_app_state(ApplicationState state) {
  auto const number = static_cast<std::uint8_t>(state);
  if (client_.ReportApplicationState(state) == ara::exec::ApplicationReturnType::kSuccess) {
    ara::log::LogDebug() << "Application state:" << number << "reported with success";
  } else {
    ara::log::LogWarn() << "Application state:" << number << "reported with failure";
  }
}

}  // namespace orvel::flashwatch::diagnostics
