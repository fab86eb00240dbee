// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_DIAG_STATS_SKELETON_IF_H
#define FLASHWATCH_DIAG_STATS_SKELETON_IF_H

namespace orvel::flashwatch::diagnostics {

/// The diagnostic services as a whole. Called from the main thread.
class Stats_skeleton_if {
 public:
  virtual ~Stats_skeleton_if() = default;
  Stats_skeleton_if(Stats_skeleton_if const&) = delete;
  Stats_skeleton_if& operator=(Stats_skeleton_if const&) = delete;

  /// From here on requests are answered, on threads of the communication. Throws what the communication throws.
  virtual void offer_services() = 0;
  /// Waits for the requests that are running; none starts afterwards.
  virtual void stop_offer_services() = 0;

 protected:
  Stats_skeleton_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
