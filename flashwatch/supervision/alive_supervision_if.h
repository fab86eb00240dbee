// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_SUPERVISION_ALIVE_SUPERVISION_IF_H
#define FLASHWATCH_SUPERVISION_ALIVE_SUPERVISION_IF_H

namespace orvel::flashwatch::diagnostics {

/// Tells platform health management that the service is alive.
class Alive_supervision_if {
 public:
  virtual ~Alive_supervision_if() = default;
  Alive_supervision_if(Alive_supervision_if const&) = delete;
  Alive_supervision_if& operator=(Alive_supervision_if const&) = delete;

  /// Reports one checkpoint. Called only from the thread that waits; exceptions of the platform pass through.
  virtual void checkpoint_reached() = 0;

 protected:
  Alive_supervision_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
