// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_MACHINE_DIAGNOSTIC_MANAGER_SCRIPT_H
#define TESTS_MACHINE_DIAGNOSTIC_MANAGER_SCRIPT_H

#include <algorithm>
#include <string>
#include <vector>

#include "machine/diagnostic_manager/bytes/byte_view.h"

namespace machine::diagnostic_manager {

/// Pairs of hexadecimal digits, with blanks between them or without.
inline Bytes from_hex(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

/// Pairs of capital digits without blanks.
inline std::string to_hex(Byte_view bytes) {
  std::string text;
  for (std::uint8_t const byte : bytes) {
    text += std::string{"0123456789ABCDEF"[byte / 16], "0123456789ABCDEF"[byte % 16]};
  }
  return text;
}

/// The parts of a text between separators.
inline std::vector<std::string> split(std::string const& text, std::string const& separator) {
  std::vector<std::string> parts;
  std::size_t at = 0;
  for (auto end = text.find(separator); end != std::string::npos; end = text.find(separator, at)) {
    parts.push_back(text.substr(at, end - at));
    at = end + separator.size();
  }
  parts.push_back(text.substr(at));
  return parts;
}

}  // namespace machine::diagnostic_manager

#endif
