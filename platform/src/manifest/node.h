// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_MANIFEST_NODE_H
#define PLATFORM_SRC_MANIFEST_NODE_H

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace linux_platform::manifest {

/// What is wrong with the manifest: the text names the file, the member (as a path such as
/// "communication.discovery.port") and what is wrong with it.
class Manifest_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One value of the manifest, together with the path that leads to it, so that every complaint can name it. Cheap to
/// copy; keeps the document alive. Every reading operation throws Manifest_error when the value is not of that kind or
/// not within the range.
class Node {
 public:
  Node(std::shared_ptr<nlohmann::json const> document, nlohmann::json const& value, std::string file, std::string path);

  /// The member `name`, which must be there.
  Node member(std::string_view name) const;
  /// The member `name`, if it is there.
  std::optional<Node> find(std::string_view name) const;
  /// All members of an object, in the order of their names.
  std::vector<std::pair<std::string, Node>> members() const;
  /// Refuses a member of any other name: a slip of the pen must not pass for a default.
  void allow_only(std::initializer_list<std::string_view> names) const;

  std::string text() const;
  bool boolean() const;
  /// An integer within [min, max]; a floating-point number is refused.
  std::uint64_t number(std::uint64_t min, std::uint64_t max) const;
  /// A number of milliseconds within [min, max].
  std::chrono::milliseconds milliseconds(std::chrono::milliseconds min, std::chrono::milliseconds max) const;

  /// The text of an IPv4 address within [min, max], which `kind` calls by a name; all in host byte order.
  std::uint32_t ipv4_address(std::string_view kind, std::uint32_t min, std::uint32_t max) const;

  /// Throws Manifest_error for this value with what is wrong with it.
  [[noreturn]] void refuse(std::string const& what) const;

  std::string const& path() const noexcept { return path_; }

 private:
  std::shared_ptr<nlohmann::json const> document_;
  nlohmann::json const* value_;
  std::string file_;
  std::string path_;
};

}  // namespace linux_platform::manifest

#endif
