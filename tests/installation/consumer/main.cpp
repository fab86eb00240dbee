// SPDX-License-Identifier: Apache-2.0
// An application as a user of the installed platform writes one: it counts its starts in the key-value storage.
#include <ara/exec/application_client.h>
#include <ara/log/logging.h>
#include <ara/per/key_value_storage.h>
#include <ara/phm/supervision_entity.h>
#include <iostream>
#include <tarn/com/runtime/component_singleton.h>

int main() {
  ara::log::InitLogging("CONS", "consumer", ara::log::LogLevel::kInfo, ara::log::LogMode::kConsole, "");
  tarn::com::runtime::Component_singleton const communication(false, "");
  ara::phm::Phm_client const supervisor("flashwatch-container");
  ara::phm::SupervisionEntity health(supervisor);
  health.CheckpointReached(1, 1);
  ara::exec::ApplicationClient client;
  client.ReportApplicationState(ara::exec::ApplicationState::kRunning);

  ara::per::KeyValueStorage storage("starts");
  auto const count = storage.HasKey("count") ? storage.GetValue("count").GetUInt() + 1 : std::uint64_t{1};
  storage.SetValue("count", ara::per::KvsType(count));
  storage.SyncToStorage();
  std::cout << "start " << count << std::endl;
}
