// SPDX-License-Identifier: Apache-2.0
// Finding, reading and checking the manifest: what a process learns of itself, and with which words a fault is refused.
#include <limits>
#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/src/manifest/document.h"
#include "platform/src/manifest/machine_manifest.h"
#include "tests/platform/manifest/scratch_manifest.h"

namespace {

using namespace linux_platform::manifest;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string complaint_about(std::string const& file, std::string const& process = "p") {
  return complaint_of([&] { Machine_manifest(file, process); });
}

TEST(AFileThatIsNoManifest, IsRefusedInOneLine) {
  std::string const deep = std::string(max_depth + 1, '[') + std::string(max_depth + 1, ']');
  std::string const invalid = " is not valid JSON";
  for (auto const& [text, complaint] : std::vector<std::pair<std::string, std::string>>{
           {"", invalid},
           {"{\"a\": \"\xff\"}", invalid},
           {"{\"a\": 1e999}", invalid},
           {std::string("{} \0", 4), invalid},
           {"[1, \"two\nlines\"]", invalid},
           {"[1, " + std::string(100000, 'x'), invalid},
           {deep, " is nested deeper than 16 levels"},
           {R"({"health": {"x": 1, "y": {"x": 1}, "x": 2}})", ": health.x is there twice"},
           {"{\"a\": \"" + std::string(max_file_bytes, 'x') + "\"}", " is larger than 4194304 bytes"}}) {
    Scratch_manifest const scratch(text);
    auto const told = complaint_about(scratch.file());
    EXPECT_THAT(told,
                AllOf(StartsWith("machine manifest " + scratch.file()), HasSubstr(complaint), Not(HasSubstr("\n"))));
    EXPECT_LT(told.size(), 500U);
  }
  Scratch_manifest const scratch("{}");
  ASSERT_EQ(mkfifo((scratch.directory() + "/pipe").c_str(), 0600), 0);
  for (auto const& [name, complaint] : {std::pair{"", "is not a regular file"},
                                        {"pipe", "is not a regular file"},
                                        {"absent", "cannot be opened: No such file or directory"}}) {
    auto const file = scratch.directory() + "/" + name;
    EXPECT_EQ(complaint_about(file), "machine manifest " + file + " " + complaint);
  }
}

// The table is read by the tests of the schema and of the communication's settings as well; a row without "reader"
// belongs to a cluster's own reader.
TEST(TheSampleManifest, IsReadUnlessItIsBrokenInOnePlace) {
  auto const sample = nlohmann::json::parse(std::ifstream(MACHINE_MANIFEST));
  std::size_t refused = 0;
  for (auto const& row : nlohmann::json::parse(std::ifstream(BROKEN_MANIFESTS))) {
    if (row.contains("reader")) {
      Scratch_manifest const scratch(sample.patch(row.at("patch")).dump());
      EXPECT_EQ(complaint_about(scratch.file(), "flashwatch"),
                "machine manifest " + scratch.file() + row.at("reader").get<std::string>());
      ++refused;
    }
  }
  EXPECT_GE(refused, 10U);
  Machine_manifest const manifest(MACHINE_MANIFEST, "sample_media");
  EXPECT_EQ(manifest.process_name() + " " + manifest.application_id(), "sample_media media");
  EXPECT_EQ(manifest.process().path(), "processes.sample_media");
  EXPECT_EQ(manifest.root().member("diagnostics").member("vin").text(), "FLASHWATCH0000001");
}

// One test, because a process reads its manifest successfully only once.
TEST(AProcess, FindsItsFileAndEntryByItsEnvironmentAndItsExecutable) {
  Scratch_manifest const scratch(R"({"processes": {"p": {"address": "127.0.0.9", "application_id": "app"}},
                                     "health": {"greatest": 18446744073709551615}})");
  for (auto const& [file, process, complaint] :
       {std::tuple{scratch.file(), "",
                   ": processes has no entry for process \"platform_manifest_test\" (the executable's "
                   "file name; ARA_PROCESS is not set)"},
        {scratch.file(), "q", ": processes has no entry for process \"q\" (the value of ARA_PROCESS)"},
        {scratch.file() + "x", "p", " cannot be opened: No such file or directory"},
        {scratch.file(), "p", ""}}) {
    setenv("ARA_MACHINE_MANIFEST", file.c_str(), 1);
    setenv("ARA_PROCESS", process, 1);
    EXPECT_EQ(complaint_of([] { Machine_manifest::of_this_process(); }),
              *complaint == '\0' ? "" : "machine manifest " + file + complaint);
  }
  EXPECT_EQ(Machine_manifest::of_this_process().application_id(), "app");
  constexpr auto greatest = std::numeric_limits<std::uint64_t>::max();
  EXPECT_EQ(Machine_manifest::of_this_process().root().member("health").member("greatest").number(0, greatest),
            greatest);
  EXPECT_EQ(&Machine_manifest::of_this_process(), &Machine_manifest::of_this_process());
}

}  // namespace
