// SPDX-License-Identifier: Apache-2.0
// Stands in for the fuzzer in ordinary builds: gives a target every input of the folders named as arguments.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include "tests/fuzz/fuzz.h"

int main(int argc, char** argv) {
  std::size_t inputs = 0;
  for (int i = 1; i < argc; ++i) {
    for (auto const& entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream file(entry.path(), std::ios::binary);
      fuzz::Bytes const bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
      std::cout << entry.path().filename() << ", " << bytes.size() << " bytes" << std::endl;
      LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
      ++inputs;
    }
  }
  return inputs == 0 ? 1 : 0;
}
