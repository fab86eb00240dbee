// SPDX-License-Identifier: Apache-2.0
#ifndef ARA_PHM_SUPERVISION_ENTITY_H
#define ARA_PHM_SUPERVISION_ENTITY_H

#include <cstdint>
#include <memory>
#include <string>

#include "ara/phm/phm_client.h"

namespace ara::phm {

/// Values of GetSupervisionStatus.
namespace supervision_status {
constexpr std::uint8_t ok = 0;               ///< checkpoints arrive within their window
constexpr std::uint8_t checkpoint_late = 1;  ///< the last checkpoint came later than the window allows
constexpr std::uint8_t not_reported = 2;     ///< health management is named but the checkpoint could not be told
constexpr std::uint8_t unknown_entity = 3;   ///< no such instance or supervised entity was reported
}  // namespace supervision_status

/// Through this a process shows that it is alive. Used by one thread at a time.
class SupervisionEntity {
 public:
  /// `client` outlives the entity.
  explicit SupervisionEntity(Phm_client_interface const& client);
  ~SupervisionEntity();
  SupervisionEntity(SupervisionEntity const&) = delete;
  SupervisionEntity& operator=(SupervisionEntity const&) = delete;

  /// Records one alive checkpoint and tells the service manager. Does not block.
  void CheckpointReached(unsigned short supervised_entity_id, unsigned short checkpoint_id);

  /// One of supervision_status, for the checkpoints of that entity so far.
  std::uint8_t GetSupervisionStatus(std::string const& instance, unsigned short supervised_entity_id);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace ara::phm

#endif
