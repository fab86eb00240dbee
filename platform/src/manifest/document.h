// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_MANIFEST_DOCUMENT_H
#define PLATFORM_SRC_MANIFEST_DOCUMENT_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace linux_platform::manifest {

/// A manifest of 1,000 applications takes about 100 KB.
constexpr std::size_t max_file_bytes = 4'194'304;
/// Objects and arrays inside one another; the manifest needs six.
constexpr std::size_t max_depth = 16;
/// Length at which a value or a name of the file is cut when an error quotes it, in bytes.
constexpr std::size_t max_quoted_bytes = 80;
/// Length at which the parser's own words are cut, which may quote a whole value; in bytes.
constexpr std::size_t max_parser_text_bytes = 300;

/// Reads and parses the file. Manifest_error when it cannot be read, is not a regular file, is over max_file_bytes, is
/// not JSON (RFC 8259), is nested deeper than max_depth, or names one member of an object twice.
std::shared_ptr<nlohmann::json const> read_document(std::string const& file);

/// `text` on one line: control characters are escaped, and what is over `limit` bytes is cut at a character's boundary.
std::string one_line(std::string_view text, std::size_t limit);

/// one_line in quotation marks.
std::string in_quotes(std::string_view text);

/// The path of member `name` of the value at `path`.
std::string member_path(std::string const& path, std::string_view name);

/// The text of every Manifest_error: file, path (the top level has none) and what is wrong.
std::string complaint(std::string const& file, std::string const& path, std::string const& what);

}  // namespace linux_platform::manifest

#endif
