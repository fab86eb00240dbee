// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_APPLICATION_STATE_REPORTER_IF_H
#define FLASHWATCH_APP_APPLICATION_STATE_REPORTER_IF_H

namespace orvel::flashwatch::diagnostics {

/// Tells execution management where the service is in its life. A failed report is logged and otherwise ignored.
class Application_state_reporter_if {
 public:
  virtual ~Application_state_reporter_if() = default;
  Application_state_reporter_if(Application_state_reporter_if const&) = delete;
  Application_state_reporter_if& operator=(Application_state_reporter_if const&) = delete;

  virtual void report_running() = 0;
  virtual void report_terminating() = 0;

 protected:
  Application_state_reporter_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
