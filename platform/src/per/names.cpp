// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/names.h"

namespace linux_platform::per {
namespace {

constexpr std::string_view digits = "0123456789ABCDEF";
constexpr std::size_t longest_printed = 80;

bool stays(char c, bool in_front) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-' ||
         (c == '.' && !in_front);
}

void append_hex(std::string& out, char c) {
  auto const byte = static_cast<unsigned char>(c);
  out += digits[byte >> 4U];
  out += digits[byte & 0x0FU];
}

}  // namespace

std::string escape(std::string_view name) {
  if (name.empty()) {
    return "%";
  }
  std::string out;
  for (char const c : name) {
    if (stays(c, out.empty())) {
      out += c;
    } else {
      out += '%';
      append_hex(out, c);
    }
  }
  return out;
}

std::optional<std::string> unescape(std::string_view file_name) {
  std::string name;
  if (file_name == "%") {
    return name;
  }
  for (std::size_t i = 0; i < file_name.size(); ++i) {
    if (file_name[i] != '%') {
      name += file_name[i];
      continue;
    }
    if (file_name.size() - i < 3) {
      return std::nullopt;
    }
    auto const high = digits.find(file_name[i + 1]);
    auto const low = digits.find(file_name[i + 2]);
    if (high == std::string_view::npos || low == std::string_view::npos) {
      return std::nullopt;
    }
    name += static_cast<char>(static_cast<unsigned char>(high << 4U | low));
    i += 2;
  }
  if (escape(name) != file_name) {
    return std::nullopt;
  }
  return name;
}

std::string printable(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (i == longest_printed) {
      return out + "... (" + std::to_string(text.size()) + " bytes)";
    }
    char const c = text[i];
    if (c >= ' ' && c <= '~' && c != '"' && c != '\\') {
      out += c;
    } else {
      out += "\\x";
      append_hex(out, c);
    }
  }
  return out;
}

}  // namespace linux_platform::per
