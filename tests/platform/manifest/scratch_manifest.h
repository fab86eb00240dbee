// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_PLATFORM_MANIFEST_SCRATCH_MANIFEST_H
#define TESTS_PLATFORM_MANIFEST_SCRATCH_MANIFEST_H

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "platform/src/manifest/node.h"

/// A directory of its own for one test, with one manifest in it.
class Scratch_manifest {
 public:
  explicit Scratch_manifest(std::string const& text) : directory_(testing::TempDir() + "manifest-XXXXXX") {
    std::ofstream(mkdtemp(directory_.data()) + std::string("/machine.json"), std::ios::binary) << text;
  }
  ~Scratch_manifest() { std::filesystem::remove_all(directory_); }
  Scratch_manifest(Scratch_manifest const&) = delete;
  Scratch_manifest& operator=(Scratch_manifest const&) = delete;

  std::string const& directory() const { return directory_; }
  std::string file() const { return directory_ + "/machine.json"; }

 private:
  std::string directory_;
};

/// The text of the Manifest_error that `action` throws; empty when it throws none.
template <typename Action>
std::string complaint_of(Action const& action) {
  try {
    action();
  } catch (linux_platform::manifest::Manifest_error const& error) {
    return error.what();
  }
  return {};
}

#endif
