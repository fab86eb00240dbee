// SPDX-License-Identifier: Apache-2.0
#ifndef ARA_EXEC_APPLICATION_CLIENT_H
#define ARA_EXEC_APPLICATION_CLIENT_H

#include <cstdint>

namespace ara::exec {

/// The states that a process reports to execution management, once each, in this order.
enum class ApplicationState : std::uint8_t {
  kRunning = 0,
  kTerminating = 1,
};

enum class ApplicationReturnType : std::uint8_t {
  kSuccess = 0,
  kGeneralError = 1,
};

/// A process's connection to execution management. Usable from any thread; nothing throws or blocks.
class ApplicationClient {
 public:
  ApplicationClient();
  ~ApplicationClient();  // NOLINT(performance-trivially-destructible): a platform may have something to close here.
  ApplicationClient(ApplicationClient const&) = delete;
  ApplicationClient& operator=(ApplicationClient const&) = delete;

  /// kGeneralError when execution management is named but could not be told. A process that nobody manages succeeds.
  ApplicationReturnType ReportApplicationState(ApplicationState state);
};

}  // namespace ara::exec

#endif
