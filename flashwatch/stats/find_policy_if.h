// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_STATS_FIND_POLICY_IF_H
#define FLASHWATCH_STATS_FIND_POLICY_IF_H

#include <memory>
#include <string>

namespace orvel::flashwatch {

/// How an instance of a service is found.
template <typename Proxy>
class Find_policy_if {
 public:
  virtual ~Find_policy_if() = default;
  Find_policy_if(Find_policy_if const&) = delete;
  Find_policy_if& operator=(Find_policy_if const&) = delete;

  /// A proxy of the instance, or none when it is not offered now.
  virtual std::unique_ptr<Proxy> find(std::string const& instance_id) const = 0;

 protected:
  Find_policy_if() = default;
};

}  // namespace orvel::flashwatch

#endif
