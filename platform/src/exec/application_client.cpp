// SPDX-License-Identifier: Apache-2.0
#include "ara/exec/application_client.h"

#include <string_view>

#include "platform/src/exec/service_manager.h"

namespace ara::exec {

namespace {

/// Empty for a value that is none of the enumerators.
std::string_view assignments_for(ApplicationState state) noexcept {
  switch (state) {
    case ApplicationState::kRunning:
      return "READY=1\nSTATUS=running";
    case ApplicationState::kTerminating:
      return "STOPPING=1\nSTATUS=terminating";
  }
  return {};
}

}  // namespace

// The connection is made anew for each report, so that a service manager that restarts is found again.
ApplicationClient::ApplicationClient() = default;
ApplicationClient::~ApplicationClient() = default;

ApplicationReturnType ApplicationClient::ReportApplicationState(ApplicationState state) {
  using linux_platform::exec::Notification;

  std::string_view const assignments = assignments_for(state);
  if (assignments.empty()) {
    return ApplicationReturnType::kGeneralError;
  }
  bool const is_lost = linux_platform::exec::notify_service_manager(assignments) == Notification::failed;
  return is_lost ? ApplicationReturnType::kGeneralError : ApplicationReturnType::kSuccess;
}

}  // namespace ara::exec
