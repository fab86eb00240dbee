// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_PLATFORM_COM_HEX_H
#define TESTS_PLATFORM_COM_HEX_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// The bytes of a text such as "FFFF8100 01"; blanks count for nothing.
inline std::vector<std::uint8_t> bytes_of(std::string hex) {
  hex.erase(std::remove(hex.begin(), hex.end(), ' '), hex.end());
  std::vector<std::uint8_t> bytes;
  for (std::size_t at = 0; at < hex.size(); at += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(hex.substr(at, 2), nullptr, 16)));
  }
  return bytes;
}

#endif
