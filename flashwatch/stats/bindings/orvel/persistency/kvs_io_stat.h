// SPDX-License-Identifier: Apache-2.0
#ifndef ORVEL_PERSISTENCY_KVS_IO_STAT_H
#define ORVEL_PERSISTENCY_KVS_IO_STAT_H

#include <cstdint>
#include <string>

namespace orvel::persistency {

/// One application's key-value storage counters and its budget for one year, as the statistics service delivers them.
/// The members stand in the order of the wire. The unit of counters and limits is the statistics service's own.
struct KVS_io_stat {
  std::string application_id;
  std::uint64_t session_read = 0;
  std::uint64_t session_write = 0;
  std::uint64_t session_setvalue = 0;
  std::uint64_t total_read = 0;
  std::uint64_t total_write = 0;
  std::uint64_t total_setvalue = 0;
  std::uint64_t soft_limit = 0;
  std::uint64_t hard_limit = 0;
};

}  // namespace orvel::persistency

#endif
