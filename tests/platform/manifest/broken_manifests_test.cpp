// SPDX-License-Identifier: Apache-2.0
// The sample manifest, broken in one place at a time (broken_manifests.json, read by the schema's test as well).
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/src/manifest/machine_manifest.h"
#include "tests/platform/manifest/scratch_manifest.h"

namespace {

nlohmann::json read_json(char const* file) {
  std::ifstream stream(file);
  return nlohmann::json::parse(stream);
}

TEST(AManifestBrokenInOnePlace, IsRefusedByTheReaderThatOwnsThatPlace) {
  auto const sample = read_json(MACHINE_MANIFEST);
  auto const table = read_json(BROKEN_MANIFESTS);
  std::size_t refused = 0;
  for (auto const& row : table) {
    auto const complaint = row.value("reader", std::string());
    if (complaint.empty()) {
      continue;  // a cluster's own reader refuses it
    }
    Scratch_manifest const scratch(sample.patch(row.at("patch")).dump());
    EXPECT_EQ(complaint_of([&] { linux_platform::manifest::Machine_manifest(scratch.file(), "flashwatch"); }),
              "machine manifest " + scratch.file() + complaint);
    ++refused;
  }
  EXPECT_GE(refused, 10U);
}

}  // namespace
