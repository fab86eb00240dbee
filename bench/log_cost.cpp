// SPDX-License-Identifier: Apache-2.0
// What a log line costs: below the level beside a branch that is not taken (1,000 of them an act), and to DLT beside
// the same calls made on libdlt.
//   log_cost ROUNDS LINES
#include <chrono>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

#include <dlt/dlt.h>

#include "ara/log/logging.h"
#include "bench/rounds.h"

namespace {

constexpr int lines_below_level = 1000;
constexpr std::uint64_t figure = 1234567;
// The daemon empties its pipe meanwhile: a full one would be measured otherwise.
constexpr std::chrono::milliseconds daemon_pause{20};

bool volatile is_enabled = false;

void branches() {
  for (int i = 0; i < lines_below_level; ++i) {
    if (is_enabled) {
      std::cout << figure;
    }
  }
}

void lines_below(ara::log::Logger const& logger) {
  for (int i = 0; i < lines_below_level; ++i) {
    logger.LogDebug() << "media"
                      << "session:" << figure << figure << "total:" << figure << figure << true;
  }
}

void line(ara::log::Logger const& logger) {
  logger.LogInfo() << "media"
                   << "session:" << figure << figure << "total:" << figure << figure << true;
}

void same_on_libdlt(DltContext& context) {
  DltContextData data{};
  if (dlt_user_log_write_start(&context, &data, DLT_LOG_INFO) != DLT_RETURN_TRUE) {
    throw std::runtime_error("libdlt takes no line");
  }
  dlt_user_log_write_utf8_string(&data, "media");
  dlt_user_log_write_utf8_string(&data, "session:");
  dlt_user_log_write_uint64(&data, figure);
  dlt_user_log_write_uint64(&data, figure);
  dlt_user_log_write_utf8_string(&data, "total:");
  dlt_user_log_write_uint64(&data, figure);
  dlt_user_log_write_uint64(&data, figure);
  dlt_user_log_write_bool(&data, 1);
  dlt_user_log_write_finish(&data);
}

void run(std::size_t rounds, std::size_t lines) {
  ara::log::InitLogging("BNCH", "measurements", ara::log::LogLevel::kInfo, ara::log::LogMode::kRemote, "");
  auto const& logger = ara::log::CreateLogger("OURS", "through the log");
  DltContext direct{};
  if (dlt_register_context_ll_ts(&direct, "THRS", "libdlt alone", DLT_LOG_INFO, DLT_TRACE_STATUS_OFF) < DLT_RETURN_OK) {
    throw std::runtime_error("libdlt registers no context");
  }
  bench::Rounds below;
  below.add("branches", branches);
  below.add("lines_below", [&] { lines_below(logger); });
  below.run(rounds, lines);

  bench::Rounds above;
  above.add("libdlt", [&] { same_on_libdlt(direct); });
  above.add("line", [&] { line(logger); });
  for (std::size_t round = 0; round < rounds; ++round) {
    above.run(1, lines / 2);
    std::this_thread::sleep_for(daemon_pause);
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 3) {
      throw std::runtime_error("usage: log_cost ROUNDS LINES");
    }
    run(std::stoul(argv[1]), std::stoul(argv[2]));
  } catch (std::exception const& error) {
    std::cerr << "log_cost: " << error.what() << "\n";
    return 1;
  }
}
