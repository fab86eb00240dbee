// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_CONFIG_FILE_READER_H
#define FLASHWATCH_CONFIG_FILE_READER_H

#include <string>

#include "flashwatch/config/file_reader_if.h"

namespace orvel::flashwatch::diagnostics {

/// Reads files of the file system. What opens but cannot be read, such as a directory, is reported as invalid JSON.
class File_reader final : public File_reader_if {
 public:
  std::string get_content(std::string const& path) const override;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
