// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_STATS_FIND_POLICY_H
#define FLASHWATCH_STATS_FIND_POLICY_H

#include <cstdint>
#include <memory>
#include <string>

#include "ara/log/logging.h"
#include "flashwatch/stats/find_policy_if.h"
#include "orvel/com/runtime/instance_id.h"

namespace orvel::flashwatch {

/// Asks the communication once and takes the first instance that it names.
template <typename Proxy>
class Find_policy final : public Find_policy_if<Proxy> {
 public:
  /// tarn::com::Invalid_argument_exception when the id cannot name an instance.
  std::unique_ptr<Proxy> find(std::string const& instance_id) const override {
    auto const handles = Proxy::FindService(com::runtime::Instance_id(instance_id));
    ara::log::LogDebug() << "FindService(\"" << instance_id << "\")->" << std::uint64_t{handles.size()};
    if (handles.empty()) {
      return nullptr;
    }
    return std::make_unique<Proxy>(handles.front());
  }
};

}  // namespace orvel::flashwatch

#endif
