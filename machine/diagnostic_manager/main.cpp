// SPDX-License-Identifier: Apache-2.0
// The diagnostic manager: a DoIP entity through which a tester reads the data identifiers of this machine's services.
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <pthread.h>
#include <unistd.h>
#include <utility>

#include "ara/exec/application_client.h"
#include "ara/log/logging.h"
#include "machine/diagnostic_manager/reports/service_reports.h"
#include "machine/diagnostic_manager/server/diagnostic_server.h"
#include "machine/diagnostic_manager/settings/settings.h"
#include "machine/version/command_line.h"
#include "platform/src/manifest/machine_manifest.h"
#include "tarn/com/runtime/component_singleton.h"

namespace {

using ara::exec::ApplicationState;
using linux_platform::manifest::Machine_manifest;
using machine::diagnostic_manager::Settings;
using machine::diagnostic_manager::server::Diagnostic_server;

/// The signals that end the program. They are taken by sigwait, so that every thread has them blocked.
sigset_t ending_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  return signals;
}

/// Everything but what a fault raises: threads inherit it, and a tester that goes away must not raise SIGPIPE.
void block_signals() {
  sigset_t signals;
  sigfillset(&signals);
  for (int const fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
    sigdelset(&signals, fault);
  }
  pthread_sigmask(SIG_SETMASK, &signals, nullptr);
}

/// Returns the exit code.
int serve(ara::log::Logger const& log) {
  ara::exec::ApplicationClient execution;
  Machine_manifest const& manifest = Machine_manifest::of_this_process();
  Settings const settings =
      machine::diagnostic_manager::read_settings(manifest.root(), manifest.process().member("address").text());
  tarn::com::runtime::Component_singleton const communication(false, "");
  Diagnostic_server::Reports reports{
      machine::diagnostic_manager::reports::make_flashwatch_report(settings.report_instance, log),
      machine::diagnostic_manager::reports::make_budget_exceedance(settings.report_instance, log)};

  std::atomic<bool> broken{false};
  Diagnostic_server const server(settings, std::move(reports), log, [&broken] {
    broken = true;
    kill(getpid(), SIGTERM);
  });
  execution.ReportApplicationState(ApplicationState::kRunning);
  sigset_t const signals = ending_signals();
  int received = 0;
  sigwait(&signals, &received);
  execution.ReportApplicationState(ApplicationState::kTerminating);
  log.LogInfo() << "Ending on signal" << received;
  return broken ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (auto const answer = machine::version::answer_command_line(argc, argv)) {
    return *answer;
  }
  block_signals();
  try {
    ara::log::InitLogging("DIAG", "Diagnostic manager", ara::log::LogLevel::kInfo,
                          ara::log::LogMode::kRemote | ara::log::LogMode::kConsole, "");
    ara::log::Logger const& log = ara::log::CreateLogger("DOIP", "Testers and their requests");
    try {
      return serve(log);
    } catch (std::exception const& failure) {
      log.LogFatal() << failure.what();
    }
  } catch (...) {
    // Only the log itself can have failed, so there is nowhere left to say it.
    return EXIT_FAILURE;
  }
  return EXIT_FAILURE;
}
