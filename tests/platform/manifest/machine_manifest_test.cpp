// SPDX-License-Identifier: Apache-2.0
// Finding, reading and checking the file; what a process learns of itself.
#include "platform/src/manifest/machine_manifest.h"

#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/src/manifest/document.h"
#include "tests/platform/manifest/scratch_manifest.h"

namespace {

using linux_platform::manifest::Machine_manifest;
using linux_platform::manifest::max_depth;
using linux_platform::manifest::max_file_bytes;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char const* one_process = R"({"processes": {"p": {"address": "127.0.0.9", "application_id": "app"}}})";

struct Environment {
  Environment(std::string const& manifest, char const* process) {
    setenv("ARA_MACHINE_MANIFEST", manifest.c_str(), 1);
    setenv("ARA_PROCESS", process, 1);
  }
  ~Environment() {
    unsetenv("ARA_MACHINE_MANIFEST");
    unsetenv("ARA_PROCESS");
  }
  Environment(Environment const&) = delete;
  Environment& operator=(Environment const&) = delete;
};

std::string own_complaint() {
  return complaint_of([] { Machine_manifest::of_this_process(); });
}

TEST(TheManifestOfAProcess, SaysWhatItsApplicationIs) {
  Machine_manifest const manifest(MACHINE_MANIFEST, "sample_media");

  EXPECT_EQ(manifest.process_name(), "sample_media");
  EXPECT_EQ(manifest.application_id(), "media");
  EXPECT_EQ(manifest.process().path(), "processes.sample_media");
  EXPECT_EQ(manifest.root().member("diagnostics").member("vin").text(), "FLASHWATCH0000001");
}

TEST(AFileThatIsNoManifest, IsRefusedInOneLine) {
  std::string const deep = std::string(max_depth, '[') + "[" + std::string(max_depth + 1, ']');
  struct Case {
    std::string text;
    std::string complaint;
  };
  std::vector<Case> const cases = {
      {"", "is not valid JSON"},
      {"{\"processes\": ", "is not valid JSON"},
      {"{\"a\": \"\xff\"}", "is not valid JSON"},
      {"{\"a\": 1e999}", "is not valid JSON"},
      {"{\"a\": NaN}", "is not valid JSON"},
      {std::string("{} \0", 4), "is not valid JSON"},
      {"[1, \"two\nlines\"]", "is not valid JSON"},
      {"[1, " + std::string(100000, 'x'), "is not valid JSON"},
      {deep, "is nested deeper than 16 levels"},
      {R"({"health": {"x": 1, "y": {"x": 1}, "x": 2}})", "health.x is there twice"},
      {"{\"a\": \"" + std::string(max_file_bytes, 'x') + "\"}", "is larger than 4194304 bytes"},
  };
  for (auto const& each : cases) {
    Scratch_manifest const scratch(each.text);
    auto const complaint = complaint_of([&] { Machine_manifest(scratch.file(), "p"); });
    EXPECT_THAT(complaint, AllOf(StartsWith("machine manifest " + scratch.file()), HasSubstr(each.complaint),
                                 Not(HasSubstr("\n"))));
    EXPECT_LT(complaint.size(), 500U);
  }
}

TEST(AFileThatCannotBeRead, IsRefusedWithTheCause) {
  Scratch_manifest const scratch(one_process);
  auto const pipe = scratch.directory() + "/pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);

  EXPECT_EQ(complaint_of([&] { Machine_manifest(scratch.directory() + "/absent", "p"); }),
            "machine manifest " + scratch.directory() + "/absent cannot be opened: No such file or directory");
  for (auto const& name : {scratch.directory(), pipe}) {
    EXPECT_EQ(complaint_of([&] { Machine_manifest(name, "p"); }),
              "machine manifest " + name + " is not a regular file");
  }
}

// One test, because a process reads its manifest successfully only once.
TEST(AProcess, FindsItsFileAndEntryByItsEnvironmentAndItsExecutable) {
  Scratch_manifest const scratch(one_process);
  std::string const prefix = "machine manifest " + scratch.file();
  {
    Environment const environment(scratch.file(), "");
    EXPECT_EQ(own_complaint(), prefix +
                                   ": processes has no entry for process \"platform_manifest_test\" "
                                   "(the executable's file name; ARA_PROCESS is not set)");
  }
  {
    Environment const environment(scratch.file(), "q");
    EXPECT_EQ(own_complaint(), prefix + ": processes has no entry for process \"q\" (the value of ARA_PROCESS)");
  }
  {
    Environment const environment(scratch.file() + "x", "p");
    EXPECT_THAT(own_complaint(),
                AllOf(HasSubstr("machine.jsonx cannot be opened"), EndsWith("No such file or directory")));
  }
  Environment const environment(scratch.file(), "p");
  EXPECT_EQ(Machine_manifest::of_this_process().application_id(), "app");
  EXPECT_EQ(&Machine_manifest::of_this_process(), &Machine_manifest::of_this_process());
}

}  // namespace
