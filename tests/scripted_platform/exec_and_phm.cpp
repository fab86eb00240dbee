// SPDX-License-Identifier: Apache-2.0
#include <utility>

#include "ara/exec/application_client.h"
#include "ara/phm/supervision_entity.h"
#include "tests/scripted_platform/script.h"

namespace ara::exec {

ApplicationClient::ApplicationClient() { script::call("exec.ApplicationClient"); }
ApplicationClient::~ApplicationClient() { script::note("exec.~ApplicationClient()"); }

ApplicationReturnType ApplicationClient::ReportApplicationState(ApplicationState state) {
  script::call("exec.ReportApplicationState", std::to_string(static_cast<int>(state)));
  return script::answers().state_report;
}

}  // namespace ara::exec

namespace ara::phm {

Phm_client::Phm_client(std::string instance) : instance_(std::move(instance)) {
  script::call("phm.Phm_client", instance_);
}
Phm_client::~Phm_client() = default;
std::string const& Phm_client::instance() const noexcept { return instance_; }

struct SupervisionEntity::State {};

SupervisionEntity::SupervisionEntity(Phm_client_interface const& client) {
  script::call("phm.SupervisionEntity", client.instance());
}
SupervisionEntity::~SupervisionEntity() = default;

void SupervisionEntity::CheckpointReached(unsigned short supervised_entity_id, unsigned short checkpoint_id) {
  script::call("phm.CheckpointReached", std::to_string(supervised_entity_id) + ", " + std::to_string(checkpoint_id));
}

std::uint8_t SupervisionEntity::GetSupervisionStatus(std::string const& instance, unsigned short supervised_entity_id) {
  script::call("phm.GetSupervisionStatus", instance + ", " + std::to_string(supervised_entity_id));
  return script::answers().supervision_status;
}

}  // namespace ara::phm
