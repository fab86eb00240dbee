// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_SUPERVISION_RETRY_POLICY_IF_H
#define FLASHWATCH_SUPERVISION_RETRY_POLICY_IF_H

namespace orvel::flashwatch::diagnostics {

/// The one place where the service waits.
class Retry_policy_if {
 public:
  virtual ~Retry_policy_if() = default;
  Retry_policy_if(Retry_policy_if const&) = delete;
  Retry_policy_if& operator=(Retry_policy_if const&) = delete;

  /// Blocks for the configured time on the caller's thread. True: go on; false: stop. Throws nothing of its own;
  /// exceptions of the platform pass through.
  virtual bool retry() const = 0;

 protected:
  Retry_policy_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
