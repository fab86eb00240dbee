// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/report.h"

namespace flashwatch_read {
namespace {

/// Hands out big-endian values from the front of a record for as long as there are enough bytes.
class Record_reader {
 public:
  explicit Record_reader(std::vector<std::uint8_t> const& record) : record_{record} {}

  std::size_t left() const noexcept { return record_.size() - position_; }

  /// An unsigned value of `bytes` bytes, which have to be there.
  std::uint64_t take(std::size_t bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
      value = (value << 8U) | record_.at(position_);
      ++position_;
    }
    return value;
  }

 private:
  std::vector<std::uint8_t> const& record_;
  std::size_t position_ = 0;
};

constexpr std::size_t value_bytes = 8;

}  // namespace

std::optional<Report> parse_report(std::vector<std::uint8_t> const& record) {
  Record_reader reader{record};
  if (reader.left() == 0) {
    return std::nullopt;
  }
  Report report;
  report.announced = static_cast<std::uint8_t>(reader.take(1));
  report.entries.reserve(reader.left() / report_entry_bytes);
  while (reader.left() >= report_entry_bytes) {
    auto& entry = report.entries.emplace_back();
    entry.scid = reader.take(value_bytes);
    entry.soft_limit = reader.take(value_bytes);
    entry.total_write = reader.take(value_bytes);
    entry.session_write = reader.take(value_bytes);
  }
  report.left_over_bytes = reader.left();
  return report;
}

Completeness completeness_of(Report const& report) noexcept {
  using Kind = Completeness::Kind;
  std::size_t const announced = report.announced;
  auto const entries = report.entries.size();
  bool const whole_blocks = entries >= announced && (entries - announced) % max_entries_per_block == 0;
  if (announced > max_entries_per_block || !whole_blocks) {
    return {Kind::contradiction, entries};
  }
  auto const blocks = (entries - announced) / max_entries_per_block;
  auto const applications = blocks * applications_per_block + announced;
  if (announced == max_entries_per_block) {
    return {blocks == 0 ? Kind::full : Kind::part_of_at_least, applications};
  }
  return {blocks == 0 ? Kind::complete : Kind::part_of_known, applications};
}

}  // namespace flashwatch_read
