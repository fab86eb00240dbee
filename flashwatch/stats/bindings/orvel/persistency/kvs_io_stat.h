// SPDX-License-Identifier: Apache-2.0
#ifndef ORVEL_PERSISTENCY_KVS_IO_STAT_H
#define ORVEL_PERSISTENCY_KVS_IO_STAT_H

#include <cstdint>
#include <string>

namespace orvel::persistency {

/// What one application has read from and written to its key-value storages, and its budget for one year of use, as
/// the platform's statistics service reports it. The order of the members is that of the wire.
struct KVS_io_stat {
  std::string application_id;  ///< UTF-8
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
