// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/connection/limits.h"

#include <cstdint>
#include <string_view>

#include "platform/src/com/message/header.h"

namespace linux_platform::com {
namespace {

constexpr std::uint64_t max_message_bytes = 64U << 20U;
constexpr std::uint64_t max_connections = 65535;
constexpr std::uint64_t max_outstanding_requests = 65535;  // as many sessions as there are
constexpr std::uint64_t max_worker_threads = 64;
constexpr std::chrono::milliseconds max_response_time{3'600'000};

void read_count(manifest::Node const& limits, std::string_view name, std::uint64_t min, std::uint64_t max,
                std::size_t& count) {
  if (auto const member = limits.find(name)) {
    count = static_cast<std::size_t>(member->number(min, max));
  }
}

}  // namespace

Limits read_limits(manifest::Node const& limits) {
  limits.allow_only({"message_bytes", "connections", "outstanding_requests", "response_time_ms", "worker_threads"});
  Limits read;
  read_count(limits, "message_bytes", Header::size, max_message_bytes, read.message_bytes);
  read_count(limits, "connections", 1, max_connections, read.connections);
  read_count(limits, "outstanding_requests", 1, max_outstanding_requests, read.outstanding_requests);
  read_count(limits, "worker_threads", 1, max_worker_threads, read.worker_threads);
  if (auto const member = limits.find("response_time_ms")) {
    read.response_time = member->milliseconds(std::chrono::milliseconds(1), max_response_time);
  }
  return read;
}

}  // namespace linux_platform::com
