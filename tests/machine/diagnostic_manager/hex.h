// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_MACHINE_DIAGNOSTIC_MANAGER_HEX_H
#define TESTS_MACHINE_DIAGNOSTIC_MANAGER_HEX_H

#include <cctype>
#include <charconv>
#include <cstdio>
#include <string>

#include "machine/diagnostic_manager/bytes/byte_view.h"

namespace machine::diagnostic_manager {

/// Reads pairs of hexadecimal digits; blanks between them mean nothing.
inline Bytes from_hex(std::string const& text) {
  std::string digits;
  for (char const letter : text) {
    if (std::isxdigit(static_cast<unsigned char>(letter)) != 0) {
      digits += letter;
    }
  }
  Bytes bytes(digits.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::from_chars(digits.data() + 2 * i, digits.data() + 2 * i + 2, bytes[i], 16);
  }
  return bytes;
}

/// Pairs of capital digits without blanks.
inline std::string to_hex(Byte_view bytes) {
  std::string text;
  for (std::uint8_t const byte : bytes) {
    char pair[3];
    std::snprintf(pair, sizeof pair, "%02X", byte);
    text += pair;
  }
  return text;
}

/// A DoIP message of version 2.
inline std::string doip_hex(std::string const& type, std::string const& payload) {
  char length[9];
  std::snprintf(length, sizeof length, "%08zX", from_hex(payload).size());
  return "02FD" + type + length + to_hex(from_hex(payload));
}

}  // namespace machine::diagnostic_manager

#endif
