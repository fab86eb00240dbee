// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_CONNECTION_LIMITS_H
#define PLATFORM_SRC_COM_CONNECTION_LIMITS_H

#include <chrono>
#include <cstddef>

#include "platform/src/manifest/node.h"

namespace linux_platform::com {

/// "communication.limits" of the machine manifest.
struct Limits {
  /// The greatest message in bytes, header included. A peer that announces a greater one is disconnected.
  std::size_t message_bytes = 4U << 20U;
  /// Connections that a process accepts at a time; a further one is closed at once.
  std::size_t connections = 64;
  /// Requests of this process on one connection that are waiting for their answers; a further one fails at once.
  std::size_t outstanding_requests = 64;
  /// How long a request may take from the call to its answer.
  std::chrono::milliseconds response_time{5000};
  /// Methods of this process that run at a time; further requests wait in their connections.
  std::size_t worker_threads = 4;
};

/// Reads the members that are there, keeps the defaults of the others. Throws manifest::Manifest_error.
Limits read_limits(manifest::Node const& limits);

}  // namespace linux_platform::com

#endif
