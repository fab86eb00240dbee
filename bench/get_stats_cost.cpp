// SPDX-License-Identifier: Apache-2.0
// What the service's get_stats costs, beside the same bytes over raw TCP with a bare decode into one map, a copy of the
// map and a vector; and reading the answer alone, beside copying its strings and numbers.
//   get_stats_cost FLOOR_ADDRESS FLOOR_PORT APPLICATIONS ROUNDS CALLS
#include <atomic>
#include <cstring>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "ara/log/logging.h"
#include "bench/raw_connection.h"
#include "bench/rounds.h"
#include "bench/statistics_sample.h"
#include "flashwatch/app/time_wrapper.h"
#include "flashwatch/stats/io_stats_extraction.h"
#include "flashwatch/stats/stats_annual_supervision.h"
#include "tarn/com/runtime/component_singleton.h"

namespace {

using bench::Bytes;
using bench::Statistics;
namespace diagnostics = orvel::flashwatch::diagnostics;

constexpr std::size_t header_size = 16;
constexpr std::size_t length_size = 4;
constexpr std::size_t mark_size = 3;

// Keeps the compiler from leaving out what nobody uses.
template <typename Value>
void keep(Value const& value) {
  asm volatile("" : : "r,m"(value) : "memory");
}

class No_storage final : public diagnostics::Persistent_storage_if {
 public:
  std::optional<Entry> read(std::string const& /*key*/) const noexcept override { return Entry{0, {}, 1}; }
  void create(std::string const& /*key*/, Entry const& /*entry*/) override {}
  void update(std::string const& /*key*/, Entry const& /*entry*/) override {}
  void sync_to_storage() override {}
};

/// Reads the answer without looking whether it is right.
class Bare_decoder final {
 public:
  explicit Bare_decoder(std::uint8_t const* at) : at_(at) {}

  Statistics statistics(std::size_t applications) {
    at_ += 2 * length_size;  // of the record and of the map in it
    Statistics made;
    for (std::size_t i = 0; i < applications; ++i) {
      auto key = text();
      at_ += length_size;  // of the record
      made.emplace_hint(made.end(), std::move(key), stat());
    }
    return made;
  }

 private:
  template <typename Number>
  Number number() {
    Number value = 0;
    std::memcpy(&value, at_, sizeof value);
    at_ += sizeof value;
    return sizeof value == 4 ? static_cast<Number>(__builtin_bswap32(static_cast<std::uint32_t>(value)))
                             : static_cast<Number>(__builtin_bswap64(value));
  }
  std::string text() {
    auto const size = number<std::uint32_t>();
    std::string made(reinterpret_cast<char const*>(at_) + mark_size, size - mark_size - 1);
    at_ += size;
    return made;
  }
  orvel::persistency::KVS_io_stat stat() {
    orvel::persistency::KVS_io_stat made;
    made.application_id = text();
    for (auto* field : {&made.session_read, &made.session_write, &made.session_setvalue, &made.total_read,
                        &made.total_write, &made.total_setvalue, &made.soft_limit, &made.hard_limit}) {
      *field = number<std::uint64_t>();
    }
    return made;
  }

  std::uint8_t const* at_;
};

Bytes answer_of(Statistics const& figures) {
  Bytes answer(header_size);
  tarn::com::cpp_binding::Serializer out(answer, {});
  orvel::persistency::write_kvs_statistics(out, figures);
  return answer;
}

/// The same work without the layers.
class Bare_client final {
 public:
  Bare_client(std::string const& address, std::uint16_t port, Bytes const& answer, std::size_t applications)
      : connection_(bench::Raw_connection::connect(address, port)),
        answer_(answer.size()),
        applications_(applications) {
    auto const greeting = bench::floor_greeting(header_size, answer);
    connection_.send(greeting.data(), greeting.size());
  }

  std::vector<diagnostics::Stat_record> get_stats() {
    Bytes const request(header_size);
    connection_.send(request.data(), request.size());
    connection_.receive(answer_.data(), answer_.size());
    auto const decoded = Bare_decoder(answer_.data() + header_size).statistics(applications_);
    auto const copied = decoded;
    std::vector<diagnostics::Stat_record> records;
    records.reserve(copied.size());
    for (auto const& [key, stat] : copied) {
      records.push_back({stat.application_id,
                         stat.session_write,
                         stat.session_setvalue,
                         stat.total_write,
                         stat.total_setvalue,
                         {},
                         {},
                         1});
    }
    return records;
  }

 private:
  bench::Raw_connection connection_;
  Bytes answer_;
  std::size_t applications_;
};

void copy_strings_and_numbers(Statistics const& figures) {
  Statistics copy;
  for (auto const& [key, stat] : figures) {
    copy.emplace_hint(copy.end(), key, stat);
  }
  keep(copy);
}

void check(std::size_t found, std::size_t wanted) {
  if (found != wanted) {
    throw std::runtime_error(std::to_string(found) + " applications answered, not " + std::to_string(wanted));
  }
}

void run(std::string const& address, std::uint16_t port, std::size_t applications, std::size_t count,
         std::size_t calls) {
  tarn::com::runtime::Component_singleton const runtime(false, "");
  std::atomic<bool> const stop{false};
  auto const provider = std::make_shared<orvel::flashwatch::Io_stats_extraction>("persistency_statistics", stop);
  provider->init_proxy();
  diagnostics::Stats_annual_supervision supervision(provider, std::make_unique<No_storage>(),
                                                    std::make_unique<diagnostics::Time_wrapper>());
  auto const figures = bench::sample_statistics(applications);
  auto const answer = answer_of(figures);
  Bare_client bare(address, port, answer, applications);

  bench::Rounds rounds;
  rounds.add("bare_stats", [&] { check(bare.get_stats().size(), applications); });
  rounds.add("get_stats", [&] { check(supervision.get_stats().size(), applications); });
  rounds.add("copy", [&] { copy_strings_and_numbers(figures); });
  rounds.add("deserialize", [&] {
    tarn::com::cpp_binding::Deserializer in(answer.data() + header_size, answer.size() - header_size, {});
    keep(orvel::persistency::read_kvs_statistics(in));
  });
  rounds.run(count, calls);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 6) {
      throw std::runtime_error("usage: get_stats_cost FLOOR_ADDRESS FLOOR_PORT APPLICATIONS ROUNDS CALLS");
    }
    ara::log::InitLogging("BNCH", "measurements", ara::log::LogLevel::kWarn, ara::log::LogMode::kConsole, "");
    run(argv[1], static_cast<std::uint16_t>(std::stoul(argv[2])), std::stoul(argv[3]), std::stoul(argv[4]),
        std::stoul(argv[5]));
  } catch (std::exception const& error) {
    std::cerr << "get_stats_cost: " << error.what() << "\n";
    return 1;
  }
}
