// SPDX-License-Identifier: Apache-2.0
// What the service stored about an application (32 bytes), the time it starts at (8) and this year's budget (16): years
// only grow, and neither a restart nor a start in between changes what is found.
#include <cstring>
#include <limits>
#include <memory>

#include "flashwatch/stats/entry_codec.h"
#include "flashwatch/stats/stats_annual_supervision.h"
#include "tests/fuzz/fuzz.h"

namespace {

using namespace orvel::flashwatch::diagnostics;
using fuzz::require;

struct Provider final : orvel::flashwatch::Io_stats_provider_if {
  std::map<std::string, orvel::persistency::KVS_io_stat> get_KVS_statistics() const override { return {{"key", stat}}; }
  orvel::persistency::KVS_io_stat stat;
};

/// One record, kept by the caller.
struct Storage final : Persistent_storage_if {
  explicit Storage(Entry_bytes& kept) : record(kept) {}
  std::optional<Entry> read(std::string const& /*key*/) const noexcept override { return decode(record); }
  void create(std::string const& /*key*/, Entry const& /*entry*/) override { require(false, "there is a record"); }
  void update(std::string const& /*key*/, Entry const& entry) override { record = encode(entry); }
  void sync_to_storage() override {}
  Entry_bytes& record;
};

struct Clock final : Time_wrapper_if {
  explicit Clock(std::int64_t now) : time(now) {}
  std::time_t get_current_time() const override { return time; }
  unsigned sleep(std::chrono::seconds /*duration*/) const override { return 0; }
  std::int64_t time;
};

Stat_record start(std::shared_ptr<Provider> const& provider, Entry_bytes& record, std::int64_t time) {
  Stats_annual_supervision supervision(provider, std::make_unique<Storage>(record), std::make_unique<Clock>(time));
  auto const records = supervision.get_stats();
  require(records.size() == 1, "one application has one line");
  return records.front();
}

bool same_budget(Stat_record const& a, Stat_record const& b) {
  return a.years_in_use == b.years_in_use && a.acc_limits.soft == b.acc_limits.soft &&
         a.acc_limits.hard == b.acc_limits.hard;
}

template <typename Value>
Value number(fuzz::Input& input) {
  Value value{};
  std::memcpy(&value, input.take(sizeof value, sizeof value).data(), sizeof value);
  return value;
}

}  // namespace

void fuzz::check(Input input) {
  auto record = number<Entry_bytes>(input);
  auto const entry = decode(record);
  std::fill_n(record.end() - 4, 4, std::uint8_t{0});  // reserved
  require(encode(entry) == record, "a record keeps its value");

  auto const time = number<std::int64_t>(input);
  auto const provider = std::make_shared<Provider>();
  auto& stat = provider->stat;
  stat.application_id = "id";
  stat.soft_limit = number<std::uint64_t>(input);
  stat.hard_limit = number<std::uint64_t>(input);
  Entry_bytes record_of_steps = record;
  auto const first = start(provider, record, time);
  require(first.years_in_use >= 1 && first.years_in_use >= entry.years_in_use, "years only grow");
  require(first.acc_limits.soft >= entry.limits.soft && first.acc_limits.hard >= entry.limits.hard, "so do budgets");
  require(decode(record).time_of_first_use == entry.time_of_first_use, "the first use stays");
  require(same_budget(start(provider, record, time), first), "a restart finds the same budget");
  auto const in_use = static_cast<std::uint64_t>(time) - static_cast<std::uint64_t>(entry.time_of_first_use);
  if (time >= entry.time_of_first_use && in_use <= std::numeric_limits<std::uint32_t>::max()) {
    start(provider, record_of_steps, time - static_cast<std::int64_t>(in_use / 2));
    require(same_budget(start(provider, record_of_steps, time), first), "a start in between changes nothing");
  }
}
