// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_SUPERVISION_ALIVE_SUPERVISION_H
#define FLASHWATCH_SUPERVISION_ALIVE_SUPERVISION_H

#include <cstdint>
#include <string>

#include "ara/phm/phm_client.h"
#include "ara/phm/supervision_entity.h"
#include "flashwatch/supervision/alive_supervision_if.h"

namespace orvel::flashwatch::diagnostics {

/// Reports checkpoints to the health management instance "flashwatch-container" and logs a status other than 0.
class Alive_supervision final : public Alive_supervision_if {
 public:
  Alive_supervision();

  void checkpoint_reached() override;

 private:
  std::string instance_ = "flashwatch-container";
  std::uint16_t supervised_entity_id_ = 1;
  std::uint16_t checkpoint_id_ = 1;
  ara::phm::Phm_client phm_client_;
  ara::phm::SupervisionEntity supervision_entity_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
