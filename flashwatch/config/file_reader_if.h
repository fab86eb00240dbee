// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_CONFIG_FILE_READER_IF_H
#define FLASHWATCH_CONFIG_FILE_READER_IF_H

#include <string>

namespace orvel::flashwatch::diagnostics {

/// Gets the text of a JSON file.
class File_reader_if {
 public:
  virtual ~File_reader_if() = default;
  File_reader_if(File_reader_if const&) = delete;
  File_reader_if& operator=(File_reader_if const&) = delete;

  /// The whole text of the file, known to be valid JSON. std::runtime_error when it cannot be opened or is not JSON.
  virtual std::string get_content(std::string const& path) const = 0;

 protected:
  File_reader_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
