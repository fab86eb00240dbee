// SPDX-License-Identifier: Apache-2.0
// The text of a file of the configuration. What is made of it is told in scenes.json.
#include "flashwatch/config/file_reader.h"

#include <fstream>
#include <stdexcept>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

namespace orvel::flashwatch::diagnostics {
namespace {

std::string const path = testing::TempDir() + "flashwatch-config-" + std::to_string(getpid());

std::string read(std::string const& name) {
  try {
    return File_reader().get_content(name);
  } catch (std::runtime_error const& error) {
    return error.what();
  }
}

TEST(AConfiguration, IsReturnedUnchangedWhenItIsValidAndNamedOtherwise) {
  auto const content = [](std::string const& text) {
    std::ofstream(path) << text;
    return read(path);
  };
  std::string const deep = std::string(100000, '[') + std::string(100000, ']');
  for (auto const& text : {std::string("\xEF\xBB\xBF {\"a\" : 1}\n"), std::string("7"), deep}) {
    EXPECT_EQ(content(text), text);
  }
  std::string const invalid = "Invalid json configuration file: ";
  for (auto const* const text : {"", "{", "{} {}", "{'a': 1}", "1e400", "\"\xFF\""}) {
    EXPECT_EQ(content(text), invalid + path) << text;
  }
  unlink(path.c_str());
  EXPECT_EQ(read("/tmp"), invalid + "/tmp");
  EXPECT_EQ(read(path), "Json configuration file: " + path + " does not exist");
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
