// SPDX-License-Identifier: Apache-2.0
// One side of an exchange of stores between processors. `store_exchange SIDE` checks what the other sides left, which
// has to be all right whoever wrote it, leaves a value of every type under its own name, and prints whose it has found.
#include <cstdint>
#include <exception>
#include <iostream>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "ara/per/key_value_storage.h"
#include "platform/src/per/record_codec.h"

namespace {

using ara::per::KvsType;

/// What a side leaves, each under the side's name and this. The last one says that there are the others.
std::vector<std::pair<std::string, KvsType>> values() {
  return {{" binary", KvsType("\0\x01\x80\xFF", 4)},
          {" text", KvsType("Gr\xC3\xBC\xC3\x9F" + std::string(3000, 'e'))},
          {" signed", KvsType(std::numeric_limits<std::int64_t>::min() + 1)},
          {" unsigned", KvsType(std::numeric_limits<std::uint64_t>::max() - 1)},
          {" floating", KvsType(-0.1)},
          {" boolean", KvsType(true)},
          {"", KvsType(true)}};
}

/// The only thing by which values of any type compare.
std::vector<std::uint8_t> record_of(KvsType const& value) {
  return linux_platform::per::Record_codec::encode("", value);
}

}  // namespace

int main(int argc, char* argv[]) {
  try {
    std::vector<std::string> const arguments(argv, argv + argc);
    ara::per::KeyValueStorage storage("exchange");
    for (auto const& side : storage.GetAllKeys()) {
      if (side.find(' ') == std::string::npos) {
        auto is_whole = true;
        for (auto const& [name, value] : values()) {
          is_whole = is_whole && record_of(storage.GetValue(side + name)) == record_of(value);
        }
        std::cout << side << (is_whole ? " whole\n" : " damaged\n");
      }
    }
    for (auto const& [name, value] : values()) {
      storage.SetValue(arguments.at(1) + name, value);
    }
    storage.SyncToStorage();
    return 0;
  } catch (std::exception const& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
