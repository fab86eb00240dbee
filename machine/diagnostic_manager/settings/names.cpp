// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/settings/names.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <map>
#include <optional>
#include <string_view>
#include <system_error>

namespace machine::diagnostic_manager {
namespace {

using connections::Activation_policy;
using linux_platform::manifest::Node;

/// All of `text` as one number of the given base, at most 255.
std::optional<std::uint8_t> to_byte(std::string_view text, int base) {
  std::uint8_t value = 0;
  char const* const end = text.data() + text.size();
  auto const result = std::from_chars(text.data(), end, value, base);
  return result.ec == std::errc{} && result.ptr == end ? std::optional(value) : std::nullopt;
}

template <typename Value>
Value one_of(Node const& node, std::map<std::string_view, Value> const& values) {
  auto const found = values.find(node.text());
  if (found != values.end()) {
    return found->second;
  }
  std::string names;
  for (auto const& [name, value] : values) {
    names.append(names.empty() ? "" : ", ").append(name);
  }
  node.refuse("is none of " + names);
}

}  // namespace

std::array<std::uint8_t, 17> read_vin(Node const& node) {
  std::string const text = node.text();
  std::array<std::uint8_t, 17> vin{};
  bool const legal = std::all_of(text.begin(), text.end(), [](char letter) {
    return (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9');
  });
  if (!legal || text.size() != vin.size()) {
    node.refuse("is not 17 capital letters and digits");
  }
  for (std::size_t i = 0; i < vin.size(); ++i) {
    vin.at(i) = static_cast<std::uint8_t>(text[i]);
  }
  return vin;
}

std::array<std::uint8_t, 6> read_six_bytes(Node const& node) {
  std::string const text = node.text();
  std::array<std::uint8_t, 6> bytes{};
  bool legal = text.size() == 3 * bytes.size() - 1;
  for (std::size_t i = 0; legal && i < bytes.size(); ++i) {
    std::optional<std::uint8_t> const byte = to_byte(std::string_view(text).substr(3 * i, 2), 16);
    legal = byte.has_value() && (i == 0 || text[3 * i - 1] == ':');
    bytes.at(i) = byte.value_or(0);
  }
  if (!legal) {
    node.refuse("is not six bytes as in 02:00:00:00:00:01");
  }
  return bytes;
}

doip::Power_mode read_power_mode(Node const& node) {
  return one_of<doip::Power_mode>(node, {{"ready", doip::Power_mode::ready},
                                         {"not_ready", doip::Power_mode::not_ready},
                                         {"not_supported", doip::Power_mode::not_supported}});
}

Activation_policy read_activation_policy(Node const& node) {
  return one_of<Activation_policy>(node, {{"open", Activation_policy::open},
                                          {"authentication", Activation_policy::needs_authentication},
                                          {"tls", Activation_policy::needs_tls},
                                          {"rejected", Activation_policy::rejected},
                                          {"confirmation", Activation_policy::confirmed_later}});
}

std::uint8_t read_activation_type(std::string const& name, Node const& node) {
  std::optional<std::uint8_t> const type = to_byte(name, 10);
  if (!type) {
    node.refuse("has a name that is no number from 0 to 255");
  }
  return *type;
}

}  // namespace machine::diagnostic_manager
