// SPDX-License-Identifier: Apache-2.0
// A trip meter that keeps its counters: a light writer.
#include "machine/sample_applications/sample_application.h"

namespace {

using ara::per::KvsType;

void set_values(ara::per::KeyValueStorageBase& storage, std::uint64_t count) {
  storage.SetValue("distance_m", KvsType(count * 800U));
  storage.SetValue("is_moving", KvsType(count % 7U != 0));
}

}  // namespace

int main(int argc, char* argv[]) {
  return sample_applications::run(
      {"TRIP", "sample trip meter", "trip_counters", 0, std::chrono::minutes(1), std::chrono::minutes(1), set_values},
      argc, argv);
}
