// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_CONFIG_INSTANCE_ID_PROVIDER_IF_H
#define FLASHWATCH_CONFIG_INSTANCE_ID_PROVIDER_IF_H

#include <string>

#include <boost/optional.hpp>

namespace orvel::flashwatch {

class Instance_id_provider_if {
 public:
  virtual ~Instance_id_provider_if() = default;
  Instance_id_provider_if(Instance_id_provider_if const&) = delete;
  Instance_id_provider_if& operator=(Instance_id_provider_if const&) = delete;

  /// The instance of the persistency statistics service to read; never empty.
  virtual std::string get_pm_instance_id() const = 0;

  /// The instance under which the diagnostic services are offered; absent when they are not to be.
  virtual boost::optional<std::string> get_own_instance_id() const = 0;

 protected:
  Instance_id_provider_if() = default;
};

}  // namespace orvel::flashwatch

#endif
