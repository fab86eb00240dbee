// SPDX-License-Identifier: Apache-2.0
// One side of an exchange of stores between processors. `store_exchange SIDE` checks what the other sides left, which
// has to be all right whoever wrote it, leaves a value of every type under its own name, and prints whose it has found.
#include <cstdint>
#include <exception>
#include <functional>
#include <iostream>
#include <limits>
#include <string>
#include <vector>

#include "ara/per/key_value_storage.h"

namespace {

using ara::per::KvsType;

std::vector<std::uint8_t> const binary{0x00, 0x01, 0x80, 0xFF};
constexpr auto smallest = std::numeric_limits<std::int64_t>::min();
constexpr auto greatest = std::numeric_limits<std::uint64_t>::max();
constexpr double fraction = -0.1;

void leave(ara::per::KeyValueStorage& storage, std::string const& side) {
  storage.SetValue(side + " binary", KvsType(binary.data(), binary.size()));
  storage.SetValue(side + " text", KvsType("Gr\xC3\xBC\xC3\x9F" + std::string(3000, 'e')));
  storage.SetValue(side + " signed", KvsType(smallest));
  storage.SetValue(side + " unsigned", KvsType(greatest));
  storage.SetValue(side + " floating", KvsType(fraction));
  storage.SetValue(side + " boolean", KvsType(true));
  storage.SetValue(side, KvsType(true));
  storage.SyncToStorage();
}

bool is_whole(ara::per::KeyValueStorage const& storage, std::string const& side) {
  return storage.GetValue(side + " binary").GetBinary() == binary &&
         storage.GetValue(side + " text").GetString() == "Gr\xC3\xBC\xC3\x9F" + std::string(3000, 'e') &&
         storage.GetValue(side + " signed").GetSInt() == smallest &&
         storage.GetValue(side + " unsigned").GetUInt() == greatest &&
         std::equal_to<double>()(storage.GetValue(side + " floating").GetDouble(), fraction) &&
         storage.GetValue(side + " boolean").GetBool();
}

}  // namespace

int main(int argc, char* argv[]) {
  try {
    std::vector<std::string> const arguments(argv, argv + argc);
    ara::per::KeyValueStorage storage("exchange");
    for (auto const& key : storage.GetAllKeys()) {
      if (key.find(' ') == std::string::npos) {
        std::cout << key << (is_whole(storage, key) ? " whole\n" : " damaged\n");
      }
    }
    leave(storage, arguments.at(1));
    return 0;
  } catch (std::exception const& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
