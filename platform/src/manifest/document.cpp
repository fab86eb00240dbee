// SPDX-License-Identifier: Apache-2.0
#include "platform/src/manifest/document.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <set>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "platform/src/manifest/node.h"

namespace linux_platform::manifest {

namespace {

using nlohmann::json;

[[noreturn]] void refuse(std::string const& file, std::string const& what, std::string const& path = {}) {
  throw Manifest_error(complaint(file, path, what));
}

[[noreturn]] void refuse_for_errno(std::string const& file, std::string const& doing, int error) {
  refuse(file, doing + ": " + std::generic_category().message(error));
}

class File {
 public:
  // Not blocking, because opening a pipe that nobody writes to would wait for ever.
  explicit File(std::string const& name)
      : name_(name), descriptor_(open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    if (descriptor_ < 0) {
      refuse_for_errno(name_, "cannot be opened", errno);
    }
  }
  ~File() { close(descriptor_); }
  File(File const&) = delete;
  File& operator=(File const&) = delete;

  std::string content() const {
    struct stat status {};
    if (fstat(descriptor_, &status) != 0) {
      refuse_for_errno(name_, "cannot be examined", errno);
    }
    if (!S_ISREG(status.st_mode)) {
      refuse(name_, "is not a regular file");
    }
    std::string text;
    std::array<char, 65536> buffer{};
    while (true) {
      ssize_t const count = read(descriptor_, buffer.data(), buffer.size());
      if (count == 0) {
        return text;
      }
      if (count > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
      } else if (errno != EINTR) {
        refuse_for_errno(name_, "cannot be read", errno);
      }
      if (text.size() > max_file_bytes) {
        refuse(name_, "is larger than " + std::to_string(max_file_bytes) + " bytes");
      }
    }
  }

 private:
  std::string const& name_;
  int descriptor_;
};

/// Watches the parser: the library itself accepts any depth and lets the last of several equal names win.
class Structure_check {
 public:
  explicit Structure_check(std::string const& file) : file_(file) {}

  void operator()(json::parse_event_t event, json const& parsed) {
    switch (event) {
      case json::parse_event_t::object_start:
      case json::parse_event_t::array_start:
        if (levels_.size() == max_depth) {
          refuse(file_, "is nested deeper than " + std::to_string(max_depth) + " levels", path());
        }
        levels_.emplace_back();
        return;
      case json::parse_event_t::key:
        add_name(parsed.get_ref<std::string const&>());
        return;
      case json::parse_event_t::object_end:
      case json::parse_event_t::array_end:
        levels_.pop_back();
        return;
      case json::parse_event_t::value:
        return;
    }
  }

 private:
  struct Level {
    std::set<std::string> names;
    std::string current;
  };

  void add_name(std::string const& name) {
    levels_.back().current = name;
    if (!levels_.back().names.insert(name).second) {
      refuse(file_, "is there twice", path());
    }
  }

  std::string path() const {
    std::string path;
    for (Level const& level : levels_) {
      if (level.names.empty()) {
        path += "[]";
      } else {
        path = member_path(path, level.current);
      }
    }
    return path;
  }

  std::string const& file_;
  std::vector<Level> levels_;
};

bool is_plain(std::string_view name) {
  return !name.empty() && name.size() <= max_quoted_bytes &&
         name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-:") ==
             std::string_view::npos;
}

}  // namespace

std::shared_ptr<json const> read_document(std::string const& file) {
  std::string const text = File(file).content();
  if (text.find('\0') != std::string::npos) {
    refuse(file, "is not valid JSON: it contains a zero byte");  // which the parser takes for the end
  }
  Structure_check check(file);
  try {
    auto const watch = [&check](int, json::parse_event_t event, json& parsed) {
      check(event, parsed);
      return true;
    };
    // Assigned, not initialised in braces: a json in braces around a json may become an array of one.
    auto document = std::make_shared<json>();
    *document = json::parse(text, watch);
    return document;
  } catch (json::exception const& error) {
    refuse(file, "is not valid JSON: " + one_line(error.what(), max_parser_text_bytes));
  }
}

std::string one_line(std::string_view text, std::size_t limit) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::size_t end = text.size();
  if (end > limit) {
    end = limit;
    while (end > 0 && (static_cast<std::uint8_t>(text[end]) & 0xC0U) == 0x80U) {
      --end;
    }
  }
  std::string result;
  for (char const character : text.substr(0, end)) {
    auto const code = static_cast<std::uint8_t>(character);
    if (code < 0x20U || code == 0x7FU) {
      result.append("\\x").append(1, digits[code >> 4U]).append(1, digits[code & 0x0FU]);
    } else {
      result.append(1, character);
    }
  }
  return end < text.size() ? result + "..." : result;
}

std::string in_quotes(std::string_view text) { return "\"" + one_line(text, max_quoted_bytes) + "\""; }

std::string member_path(std::string const& path, std::string_view name) {
  if (!is_plain(name)) {
    return path + "[" + in_quotes(name) + "]";
  }
  return path.empty() ? std::string(name) : path + "." + std::string(name);
}

std::string complaint(std::string const& file, std::string const& path, std::string const& what) {
  std::string const subject = path.empty() ? " " : ": " + path + " ";
  return "machine manifest " + file + subject + what;
}

}  // namespace linux_platform::manifest
