// SPDX-License-Identifier: Apache-2.0
// When the server's own thread asks a service: what could hold it up is left to the other thread.
#include "machine/diagnostic_manager/reports/service_report.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "ara/log/logging.h"
#include "tests/platform/com/node.h"

namespace machine::diagnostic_manager::reports {
namespace {

struct Number {
  static constexpr char const* name = "test::Number";
  struct Read {
    using Output = std::uint8_t;
  };
};

bool is_connected = true;
int questions = 0;

struct Number_proxy {
  using HandleType = int;

  static std::vector<int> FindService(orvel::com::runtime::Instance_id const& /*instance*/) { return {1}; }
  explicit Number_proxy(int /*handle*/) {}
  static bool connected() { return is_connected; }
  static ara::com::Future<std::uint8_t> Read(std::map<std::string, std::string> const& /*meta_info*/) {
    ++questions;
    ara::com::Promise<std::uint8_t> promise;
    promise.set_value(7);
    return promise.get_future();
  }
};

TEST(AServiceReport, WaitsForNoConnectionOnTheServersThread) {
  namespace com = linux_platform::com;
  com::testing_support::On_node const on(com::testing_support::node(1));
  Service_report<Number_proxy, Number> report(
      orvel::com::runtime::Instance_id("one"), [](std::uint8_t const& number) { return Bytes{number}; },
      ara::log::CreateLogger("TEST", "test"));
  std::optional<Report_outcome> outcome = report.read_at_once();
  EXPECT_FALSE(outcome) << "it has not been searched yet";
  std::atomic<bool> const stop{false};
  for (int tries = 0; !outcome && tries < 1000; ++tries) {  // on a busy machine no answer may come in a moment
    ASSERT_EQ(std::get<Bytes>(report.read(stop)), Bytes{7});
    outcome = report.read_at_once();
  }
  ASSERT_TRUE(outcome);
  EXPECT_EQ(std::get<Bytes>(*outcome), Bytes{7});
  is_connected = false;
  questions = 0;
  EXPECT_FALSE(report.read_at_once());
  EXPECT_EQ(questions, 0);
}

}  // namespace
}  // namespace machine::diagnostic_manager::reports
