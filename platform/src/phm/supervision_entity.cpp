// SPDX-License-Identifier: Apache-2.0
#include "ara/phm/supervision_entity.h"

#include <chrono>
#include <utility>

#include "platform/src/exec/service_manager.h"
#include "platform/src/manifest/machine_manifest.h"
#include "platform/src/phm/alive_record.h"
#include "platform/src/phm/checkpoint_window.h"

namespace ara::phm {

struct SupervisionEntity::State {
  std::string instance;
  linux_platform::phm::Alive_record record;
};

SupervisionEntity::SupervisionEntity(Phm_client_interface const& client)
    : state_(std::make_unique<State>(State{
          client.instance(), linux_platform::phm::Alive_record(linux_platform::phm::checkpoint_window(
                                 linux_platform::manifest::Machine_manifest::of_this_process(), client.instance()))})) {
}

SupervisionEntity::~SupervisionEntity() = default;

void SupervisionEntity::CheckpointReached(unsigned short supervised_entity_id, unsigned short /*checkpoint_id*/) {
  using linux_platform::exec::Notification;

  auto const now = std::chrono::steady_clock::now();
  bool const is_told = linux_platform::exec::notify_service_manager("WATCHDOG=1") != Notification::failed;
  state_->record.add(supervised_entity_id, now, is_told);
}

std::uint8_t SupervisionEntity::GetSupervisionStatus(std::string const& instance, unsigned short supervised_entity_id) {
  if (instance != state_->instance) {
    return supervision_status::unknown_entity;
  }
  return state_->record.status(supervised_entity_id);
}

}  // namespace ara::phm
