// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_REPORT_H
#define MACHINE_FLASHWATCH_READ_REPORT_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace flashwatch_read {

/// The report holds at most so many entries per block of 256 applications.
constexpr std::size_t max_entries_per_block = 15;
constexpr std::size_t applications_per_block = 256;
constexpr std::size_t report_entry_bytes = 32;

/// One application's figures. Amounts are bytes over the whole unsigned 64-bit range.
struct Report_entry {
  std::uint64_t scid = 0;        ///< 0: the machine knows no SCID for this application
  std::uint64_t soft_limit = 0;  ///< accumulated over the years of use; 2^64 - 1 also stands for more
  std::uint64_t total_write = 0;
  std::uint64_t session_write = 0;
};

constexpr bool exceeds(Report_entry const& entry) noexcept { return entry.total_write > entry.soft_limit; }

/// What data identifier 0x17F0 holds.
struct Report {
  std::uint8_t announced = 0;         ///< the count byte
  std::vector<Report_entry> entries;  ///< every whole entry that follows, whatever the count says
  std::size_t left_over_bytes = 0;    ///< bytes behind the last whole entry; 0 in a sound report
};

/// Reads a data record of 0x17F0: one count byte, then entries of four big-endian 64-bit values each (SCID,
/// accumulated soft limit, total writes, session writes). Any content is a report; only an empty record is none.
std::optional<Report> parse_report(std::vector<std::uint8_t> const& record);

/// What a report's count and length say together about how many applications the machine has. The sender reduces its
/// number of applications modulo 256 and caps it at 15 for the count, and writes the first 15 of every 256.
struct Completeness {
  enum class Kind {
    complete,          ///< every application is in the report
    full,              ///< 15 entries: at least 15 applications, perhaps more
    part_of_known,     ///< only a part, and `applications` is exactly how many there are
    part_of_at_least,  ///< only a part, and `applications` is the fewest there can be
    contradiction      ///< no number of applications gives this count with this length
  };
  Kind kind = Kind::complete;
  std::size_t applications = 0;
};

Completeness completeness_of(Report const& report) noexcept;

/// Both identifiers, read one right after the other.
struct Reading {
  Report report;
  bool budget_exceeded = false;  ///< 0x17F2, which looks at every application, also those beyond the report
  std::chrono::steady_clock::time_point taken;
  bool reconnected = false;  ///< the connection of the reading before it was lost
};

}  // namespace flashwatch_read

#endif
