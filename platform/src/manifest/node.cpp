// SPDX-License-Identifier: Apache-2.0
#include "platform/src/manifest/node.h"

#include <algorithm>
#include <arpa/inet.h>
#include <netinet/in.h>

#include <nlohmann/json.hpp>

#include "platform/src/manifest/document.h"

namespace linux_platform::manifest {

namespace {

using nlohmann::json;

/// The kind of the value and, where it is short enough to help, the value.
std::string description(json const& value) {
  switch (value.type()) {
    case json::value_t::null:
      return "null";
    case json::value_t::object:
      return "an object";
    case json::value_t::array:
      return "an array";
    case json::value_t::string:
      return "the text " + in_quotes(value.get_ref<std::string const&>());
    case json::value_t::boolean:
    case json::value_t::number_integer:
    case json::value_t::number_unsigned:
    case json::value_t::number_float:
      return value.dump();
    case json::value_t::binary:
    case json::value_t::discarded:
      break;  // not made by the parser
  }
  return "an unknown value";
}

}  // namespace

Node::Node(std::shared_ptr<json const> document, json const& value, std::string file, std::string path)
    : document_(std::move(document)), value_(&value), file_(std::move(file)), path_(std::move(path)) {}

void Node::refuse(std::string const& what) const { throw Manifest_error(complaint(file_, path_, what)); }

Node Node::member(std::string_view name) const {
  std::optional<Node> found = find(name);
  if (!found) {
    throw Manifest_error(complaint(file_, member_path(path_, name), "is missing"));
  }
  return *std::move(found);
}

std::optional<Node> Node::find(std::string_view name) const {
  if (!value_->is_object()) {
    refuse("must be an object, but is " + description(*value_));
  }
  auto const found = value_->find(std::string(name));
  if (found == value_->end()) {
    return std::nullopt;
  }
  return Node(document_, *found, file_, member_path(path_, name));
}

std::vector<std::pair<std::string, Node>> Node::members() const {
  if (!value_->is_object()) {
    refuse("must be an object, but is " + description(*value_));
  }
  std::vector<std::pair<std::string, Node>> result;
  result.reserve(value_->size());
  for (auto const& item : value_->items()) {
    result.emplace_back(item.key(), Node(document_, item.value(), file_, member_path(path_, item.key())));
  }
  return result;
}

void Node::allow_only(std::initializer_list<std::string_view> names) const {
  for (auto const& [name, node] : members()) {
    if (std::find(names.begin(), names.end(), name) == names.end()) {
      std::string known;
      for (std::string_view const each : names) {
        known.append(known.empty() ? "" : ", ").append(each);
      }
      node.refuse("is not a known member (known: " + known + ")");
    }
  }
}

std::string Node::text() const {
  if (!value_->is_string()) {
    refuse("must be a text, but is " + description(*value_));
  }
  return value_->get<std::string>();
}

bool Node::boolean() const {
  if (!value_->is_boolean()) {
    refuse("must be true or false, but is " + description(*value_));
  }
  return value_->get<bool>();
}

std::uint64_t Node::number(std::uint64_t min, std::uint64_t max) const {
  // The parser makes a non-negative literal unsigned, except "-0".
  if (value_->is_number_unsigned() || (value_->is_number_integer() && value_->get<std::int64_t>() == 0)) {
    auto const value = value_->get<std::uint64_t>();
    if (min <= value && value <= max) {
      return value;
    }
  }
  refuse("must be an integer from " + std::to_string(min) + " to " + std::to_string(max) + ", but is " +
         description(*value_));
}

std::chrono::milliseconds Node::milliseconds(std::chrono::milliseconds min, std::chrono::milliseconds max) const {
  std::uint64_t const count = number(static_cast<std::uint64_t>(min.count()), static_cast<std::uint64_t>(max.count()));
  return std::chrono::milliseconds(static_cast<std::chrono::milliseconds::rep>(count));
}

std::uint32_t Node::ipv4_address(std::string_view kind, std::uint32_t min, std::uint32_t max) const {
  std::string const address = text();
  in_addr parsed{};
  // A NUL inside the text would hide what follows it from inet_pton.
  if (address.find('\0') == std::string::npos && inet_pton(AF_INET, address.c_str(), &parsed) == 1) {
    std::uint32_t const value = ntohl(parsed.s_addr);
    if (min <= value && value <= max) {
      return value;
    }
  }
  refuse("must be an IPv4 " + std::string(kind) + ", but is " + description(*value_));
}

}  // namespace linux_platform::manifest
