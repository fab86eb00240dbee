// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/config/file_reader.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

#include <nlohmann/json.hpp>

namespace orvel::flashwatch::diagnostics {
namespace {

/// Everything from here to the end. After a read error there is no text, which the syntax check refuses.
std::string read_to_end(std::istream& stream) {
  std::string text;
  try {
    text.assign(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
  } catch (std::ios_base::failure const&) {
    text.clear();
  }
  return text;
}

}  // namespace

std::string File_reader::get_content(std::string const& path) const {
  std::ifstream stream(path);
  if (!stream.is_open()) {
    throw std::runtime_error("Json configuration file: " + path + " does not exist");
  }
  // The text that is checked is the text that is returned, even while somebody rewrites the file.
  std::string text = read_to_end(stream);
  if (!nlohmann::json::accept(text)) {
    throw std::runtime_error("Invalid json configuration file: " + path);
  }
  return text;
}

}  // namespace orvel::flashwatch::diagnostics
