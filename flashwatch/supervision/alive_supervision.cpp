// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/supervision/alive_supervision.h"

#include "ara/log/logging.h"

namespace orvel::flashwatch::diagnostics {

Alive_supervision::Alive_supervision() : phm_client_(instance_), supervision_entity_(phm_client_) {}

void Alive_supervision::checkpoint_reached() {
  supervision_entity_.CheckpointReached(supervised_entity_id_, checkpoint_id_);
  std::uint8_t const status = supervision_entity_.GetSupervisionStatus(instance_, supervised_entity_id_);
  if (status != 0) {
    ara::log::LogWarn() << "Invalid supervision status:" << status;
  }
}

}  // namespace orvel::flashwatch::diagnostics
