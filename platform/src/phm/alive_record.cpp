// SPDX-License-Identifier: Apache-2.0
#include "platform/src/phm/alive_record.h"

#include "ara/phm/supervision_entity.h"

namespace linux_platform::phm {

namespace supervision_status = ara::phm::supervision_status;

void Alive_record::add(std::uint16_t entity, Time_point now, bool told) {
  std::uint8_t status = told ? supervision_status::ok : supervision_status::not_reported;
  auto const [last, is_first] = last_.try_emplace(entity, Checkpoint{now, status});
  if (is_first) {
    return;
  }
  if (now - last->second.time > window_) {
    status = supervision_status::checkpoint_late;
  }
  last->second = Checkpoint{now, status};
}

std::uint8_t Alive_record::status(std::uint16_t entity) const {
  auto const last = last_.find(entity);
  return last == last_.end() ? supervision_status::unknown_entity : last->second.status;
}

}  // namespace linux_platform::phm
