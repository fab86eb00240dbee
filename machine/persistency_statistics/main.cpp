// SPDX-License-Identifier: Apache-2.0
// The persistency statistics service: tells how much every application of the machine writes, and may write, through
// the key-value storage. Ends with 0 on SIGTERM or SIGINT, with 1 and one line that says why when it cannot start.
#include <exception>

#include "ara/exec/application_client.h"
#include "ara/log/logging.h"
#include "machine/persistency_statistics/budgets.h"
#include "machine/persistency_statistics/statistics_report.h"
#include "machine/persistency_statistics/statistics_service.h"
#include "machine/persistency_statistics/stored_usage.h"
#include "machine/persistency_statistics/termination.h"
#include "machine/version/command_line.h"
#include "platform/src/manifest/machine_manifest.h"
#include "platform/src/per/settings.h"
#include "tarn/com/runtime/component_singleton.h"

namespace {

using namespace persistency_statistics;
using ara::exec::ApplicationState;

/// The name that the manifest gives the one instance of the service.
constexpr char const* instance_name = "persistency_statistics";

ara::log::Logger& main_log() { return ara::log::CreateLogger("MAIN", "start and end"); }

void report_state(ara::exec::ApplicationClient& client, ApplicationState state, ara::log::Logger& log) {
  if (client.ReportApplicationState(state) != ara::exec::ApplicationReturnType::kSuccess) {
    log.LogWarn() << "execution management could not be told of state" << static_cast<unsigned>(state);
  }
}

void serve(ara::log::Logger& log) {
  auto const persistency = linux_platform::manifest::Machine_manifest::of_this_process().root().member("persistency");
  Budgets const budgets{persistency};
  Stored_usage usage{linux_platform::per::Per_settings::read(persistency)};
  Statistics_report report{usage, budgets, ara::log::CreateLogger("STAT", "statistics of the storages")};

  tarn::com::runtime::Component_singleton const runtime{false, ""};
  Statistics_service service{orvel::com::runtime::Instance_id{instance_name}, report};
  report.now();  // reads the totals of all storages once, so that the first client does not wait for it
  service.OfferService();
  ara::exec::ApplicationClient client;
  report_state(client, ApplicationState::kRunning, log);
  log.LogInfo() << "statistics are offered";

  wait_for_termination();
  report_state(client, ApplicationState::kTerminating, log);
  service.StopOfferService();
}

}  // namespace

int main(int argc, char* argv[]) {
  if (auto const answer = machine::version::answer_command_line(argc, argv)) {
    return *answer;
  }
  try {
    block_signals();
    ara::log::InitLogging("PSTA", "persistency statistics", ara::log::LogLevel::kInfo,
                          ara::log::LogMode::kRemote | ara::log::LogMode::kConsole, "");
    serve(main_log());
    main_log().LogInfo() << "finished";
    return 0;
  } catch (std::exception const& error) {
    main_log().LogError() << "cannot serve statistics:" << error.what();
    return 1;
  }
}
