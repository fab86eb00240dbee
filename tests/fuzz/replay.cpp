// SPDX-License-Identifier: Apache-2.0
// Stands in for the fuzzer in ordinary builds: gives a target every input of the folder named as the argument.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include "tests/fuzz/fuzz.h"

int main(int argc, char** argv) {
  bool replayed = false;
  for (auto const& entry : std::filesystem::directory_iterator(argv[argc - 1])) {
    std::ifstream file(entry.path(), std::ios::binary);
    fuzz::Bytes const bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    std::cout << entry.path().filename() << ", " << bytes.size() << " bytes" << std::endl;
    fuzz::check({bytes.data(), bytes.size()});
    replayed = true;
  }
  return replayed ? 0 : 1;
}
