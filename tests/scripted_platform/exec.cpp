// SPDX-License-Identifier: Apache-2.0
#include "ara/exec/application_client.h"
#include "tests/scripted_platform/script.h"

namespace ara::exec {

ApplicationClient::ApplicationClient() { script::call("exec.ApplicationClient", ""); }
ApplicationClient::~ApplicationClient() { script::note("exec.~ApplicationClient()"); }

ApplicationReturnType ApplicationClient::ReportApplicationState(ApplicationState state) {
  script::call("exec.ReportApplicationState", std::to_string(static_cast<int>(state)));
  return script::answers().state_report;
}

}  // namespace ara::exec
