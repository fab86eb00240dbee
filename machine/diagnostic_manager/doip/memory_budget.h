// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_DOIP_MEMORY_BUDGET_H
#define MACHINE_DIAGNOSTIC_MANAGER_DOIP_MEMORY_BUDGET_H

#include <cstddef>

namespace machine::diagnostic_manager::doip {

/// How many bytes all connections together may hold for messages that have not arrived completely. Used on one thread.
class Memory_budget {
 public:
  explicit Memory_budget(std::size_t bytes) noexcept : free_(bytes) {}

  /// False, and nothing taken, when there is not that much left.
  [[nodiscard]] bool take(std::size_t bytes) noexcept {
    if (bytes > free_) {
      return false;
    }
    free_ -= bytes;
    return true;
  }
  /// Gives back what was taken.
  void give_back(std::size_t bytes) noexcept { free_ += bytes; }

 private:
  std::size_t free_;
};

}  // namespace machine::diagnostic_manager::doip

#endif
