// SPDX-License-Identifier: Apache-2.0
// A media player that keeps the cover of each track: it writes so much when it is new that it leaves its budget, then
// hardly ever, so that a machine that runs for days does not wear out a real disk.
#include <vector>

#include "machine/sample_applications/sample_application.h"

namespace {

using ara::per::KvsType;

constexpr std::size_t cover_bytes = 24 * std::size_t{1024};

/// Bytes that differ from cover to cover and do not compress (xorshift64).
std::vector<std::uint8_t> cover(std::uint64_t number) {
  std::uint64_t state = number * 2 + 1;
  std::vector<std::uint8_t> bytes(cover_bytes);
  for (auto& byte : bytes) {
    state ^= state << 13U;
    state ^= state >> 7U;
    state ^= state << 17U;
    byte = static_cast<std::uint8_t>(state >> 56U);
  }
  return bytes;
}

void set_values(ara::per::KeyValueStorageBase& storage, std::uint64_t count) {
  auto const bytes = cover(count);
  storage.SetValue("cover", KvsType(bytes.data(), bytes.size()));
  storage.SetValue("track", KvsType("track " + std::to_string(count)));
  storage.SetValue("balance", KvsType(std::int64_t{-3}));
}

}  // namespace

int main(int argc, char* argv[]) {
  return sample_applications::run({"MEDI", "sample media player", "media_library", 12, std::chrono::milliseconds(250),
                                   std::chrono::minutes(10), set_values},
                                  argc, argv);
}
