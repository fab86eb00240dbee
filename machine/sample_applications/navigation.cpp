// SPDX-License-Identifier: Apache-2.0
// A navigation system that keeps its position: a moderate writer.
#include <array>

#include "machine/sample_applications/sample_application.h"

namespace {

using ara::per::KvsType;

void set_values(ara::per::KeyValueStorageBase& storage, std::uint64_t count) {
  auto const way = static_cast<double>(count % 10'000U);
  std::array<std::uint8_t, 16> route{};
  route.fill(static_cast<std::uint8_t>(count % 256U));

  storage.SetValue("latitude_deg", KvsType(48.1 + 0.0001 * way));
  storage.SetValue("longitude_deg", KvsType(11.5 - 0.0001 * way));
  storage.SetValue("destination", KvsType("home"));
  storage.SetValue("route", KvsType(route.data(), route.size()));
}

}  // namespace

int main(int argc, char* argv[]) {
  return sample_applications::run({"NAVI", "sample navigation", "navigation_state", 0, std::chrono::seconds(10),
                                   std::chrono::seconds(10), set_values},
                                  argc, argv);
}
