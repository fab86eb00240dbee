// SPDX-License-Identifier: Apache-2.0
// The start of the annual supervision, as flashwatch does it, for measurements from outside: says "ready" before the
// storage is opened and after the first readout, and goes on with each line on standard input.
//   supervision_steps APPLICATIONS YEAR
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "flashwatch/stats/persistent_storage.h"
#include "flashwatch/stats/stats_annual_supervision.h"

namespace {

using namespace orvel;
using namespace orvel::flashwatch;

constexpr std::time_t first_use = 1'800'000'000;
constexpr std::time_t seconds_per_year = 31'556'952;

class Statistics final : public Io_stats_provider_if {
 public:
  explicit Statistics(unsigned long applications) {
    for (unsigned long i = 0; i < applications; ++i) {
      auto const id = "application_" + std::to_string(10000000 + i);
      stats_[id] = {id, 0, 0, 0, 0, 0, 0, 1, 2};
    }
  }
  std::map<std::string, persistency::KVS_io_stat> get_KVS_statistics() const override { return stats_; }

 private:
  std::map<std::string, persistency::KVS_io_stat> stats_;
};

class Clock final : public diagnostics::Time_wrapper_if {
 public:
  explicit Clock(std::time_t now) : now_(now) {}
  std::time_t get_current_time() const override { return now_; }
  unsigned sleep(std::chrono::seconds) const override { return 0; }

 private:
  std::time_t now_;
};

void pause() {
  std::cout << "ready" << std::endl;
  std::string line;
  std::getline(std::cin, line);
}

void run(unsigned long applications, long year) {
  pause();
  diagnostics::Stats_annual_supervision supervision(std::make_shared<Statistics>(applications),
                                                    std::make_unique<diagnostics::Persistent_storage>(),
                                                    std::make_unique<Clock>(first_use + year * seconds_per_year));
  if (supervision.get_stats().size() != applications) {
    throw std::runtime_error("applications are missing");
  }
  pause();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    run(std::stoul(argc > 1 ? argv[1] : "15"), std::stol(argc > 2 ? argv[2] : "0"));
    return 0;
  } catch (std::exception const& e) {
    std::cerr << "supervision_steps: " << e.what() << "\n";
    return 1;
  }
}
