// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_PLATFORM_COM_DISCOVERY_HEX_H
#define TESTS_PLATFORM_COM_DISCOVERY_HEX_H

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

/// The bytes of a text such as "FF FF 81 00".
inline std::vector<std::uint8_t> bytes_of(std::string const& hex) {
  std::istringstream in{hex};
  std::vector<std::uint8_t> bytes;
  for (unsigned byte = 0; in >> std::hex >> byte;) {
    bytes.push_back(static_cast<std::uint8_t>(byte));
  }
  return bytes;
}

#endif
