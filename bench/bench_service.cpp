// SPDX-License-Identifier: Apache-2.0
// Offers bench::Echo, and the statistics service with the figures of APPLICATIONS applications.
//   bench_service APPLICATIONS
#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <utility>

#include "ara/log/logging.h"
#include "bench/echo_interface.h"
#include "bench/statistics_sample.h"
#include "orvel/persistency/skeleton/statistics_skeleton.h"
#include "tarn/com/runtime/component_singleton.h"

namespace {

class Statistics_service final : public orvel::persistency::skeleton::statisticsSkeleton {
 public:
  explicit Statistics_service(bench::Statistics figures)
      : statisticsSkeleton(orvel::com::runtime::Instance_id("persistency_statistics"),
                           tarn::com::Method_call_processing_mode::kEvent),
        figures_(std::move(figures)) {}
  ~Statistics_service() override { StopOfferService(); }

  ara::com::Future<bench::Statistics> get_KVS_statistics() override {
    ara::com::Promise<bench::Statistics> promise;
    promise.set_value(figures_);
    return promise.get_future();
  }

 private:
  bench::Statistics const figures_;
};

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 2) {
      throw std::runtime_error("usage: bench_service APPLICATIONS");
    }
    ara::log::InitLogging("BNCH", "measurements", ara::log::LogLevel::kWarn, ara::log::LogMode::kConsole, "");
    tarn::com::runtime::Component_singleton const runtime(false, "");
    bench::Echo_skeleton echo(orvel::com::runtime::Instance_id("echo"));
    Statistics_service statistics(bench::sample_statistics(std::stoul(argv[1])));
    echo.OfferService();
    statistics.OfferService();
    std::cout << "ready" << std::endl;
    std::string line;
    std::getline(std::cin, line);  // the end of the input ends the service
  } catch (std::exception const& error) {
    std::cerr << "bench_service: " << error.what() << "\n";
    return 1;
  }
}
