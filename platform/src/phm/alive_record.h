// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PHM_ALIVE_RECORD_H
#define PLATFORM_SRC_PHM_ALIVE_RECORD_H

#include <chrono>
#include <cstdint>
#include <map>

namespace linux_platform::phm {

/// Judges the rhythm of the checkpoints of each supervised entity. Knows no clock: the time comes in with the
/// checkpoint. One instance is used by one thread at a time; it holds at most one record per 16-bit entity id.
class Alive_record {
 public:
  using Time_point = std::chrono::steady_clock::time_point;

  explicit Alive_record(std::chrono::milliseconds window) noexcept : window_(window) {}

  /// A checkpoint of the entity at `now`; `told` says whether the service manager, if there is one, knows of it. An
  /// entity's first checkpoint has no predecessor and is in time.
  void add(std::uint16_t entity, Time_point now, bool told);

  /// One of ara::phm::supervision_status, by the last checkpoint. A late checkpoint shows even when it was not told.
  std::uint8_t status(std::uint16_t entity) const;

 private:
  struct Checkpoint {
    Time_point time;
    std::uint8_t status;
  };

  std::chrono::milliseconds window_;
  std::map<std::uint16_t, Checkpoint> last_;
};

}  // namespace linux_platform::phm

#endif
