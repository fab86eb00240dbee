// SPDX-License-Identifier: Apache-2.0
// One use of a storage, step by step, for measurements from outside: says "ready" on standard output after opening and
// after each SyncToStorage, and goes on with each line on standard input. Values have 32 bytes, keys 20.
//   persistency_steps put FIRST COUNT [REPEAT]   sets COUNT keys from number FIRST and syncs, REPEAT times
//   persistency_steps read                       reads every value
#include <array>
#include <exception>
#include <iostream>
#include <string>

#include "ara/per/key_value_storage.h"

namespace {

constexpr std::size_t value_size = 32;

std::string key(unsigned long number) {
  auto const digits = std::to_string(number);
  return "application_" + std::string(8 - digits.size(), '0') + digits;
}

void pause() {
  std::cout << "ready" << std::endl;
  std::string line;
  std::getline(std::cin, line);
}

void put(ara::per::KeyValueStorage& storage, unsigned long first, unsigned long count, unsigned char fill) {
  std::array<unsigned char, value_size> value{};
  value.fill(fill);
  for (unsigned long i = 0; i < count; ++i) {
    storage.SetValue(key(first + i), ara::per::KvsType(value.data(), value.size()));
  }
  storage.SyncToStorage();
}

int run(int argc, char** argv) {
  ara::per::KeyValueStorage storage("flashwatch_BkupByEmBoot");
  pause();
  if (argc < 4) {
    for (auto const& each : storage.GetAllKeys()) {
      static_cast<void>(storage.GetValue(each).GetBinary());
    }
    pause();
    return 0;
  }
  auto const first = std::stoul(argv[2]);
  auto const count = std::stoul(argv[3]);
  auto const repeat = argc > 4 ? std::stoul(argv[4]) : 1;
  auto const seed = storage.GetAllKeys().size();
  for (unsigned long i = 0; i < repeat; ++i) {
    put(storage, first, count, static_cast<unsigned char>(seed + i));
    pause();
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (std::exception const& e) {
    std::cerr << "persistency_steps: " << e.what() << "\n";
    return 1;
  }
}
