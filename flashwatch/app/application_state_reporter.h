// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_APPLICATION_STATE_REPORTER_H
#define FLASHWATCH_APP_APPLICATION_STATE_REPORTER_H

#include "ara/exec/application_client.h"
#include "flashwatch/app/application_state_reporter_if.h"

namespace orvel::flashwatch::diagnostics {

class Application_state_reporter final : public Application_state_reporter_if {
 public:
  void report_running() override;
  void report_terminating() override;
  void report_app_state(ara::exec::ApplicationState state);

 private:
  ara::exec::ApplicationClient client_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
