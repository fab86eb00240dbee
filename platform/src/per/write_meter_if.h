// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_WRITE_METER_IF_H
#define PLATFORM_SRC_PER_WRITE_METER_IF_H

#include <cstdint>

namespace linux_platform::per {

/// Is told of every byte that a storage hands to the medium.
class Write_meter_if {
 public:
  virtual ~Write_meter_if() = default;
  Write_meter_if(Write_meter_if const&) = delete;
  Write_meter_if& operator=(Write_meter_if const&) = delete;

  /// Called right after the bytes were handed over, on the thread that uses the storage.
  virtual void written(std::uint64_t bytes) noexcept = 0;

 protected:
  Write_meter_if() = default;
};

/// For who only reads.
class No_write_meter final : public Write_meter_if {
 public:
  void written(std::uint64_t) noexcept override {}
};

}  // namespace linux_platform::per

#endif
