// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_FLASHWATCH_MOCKS_TEXT_READER_H
#define TESTS_FLASHWATCH_MOCKS_TEXT_READER_H

#include <memory>
#include <string>

#include "flashwatch/config/file_reader_if.h"

namespace orvel::flashwatch::diagnostics {

/// A file reader that has this text for every path.
class Text_reader final : public File_reader_if {
 public:
  explicit Text_reader(std::string text) : text_(std::move(text)) {}
  std::string get_content(std::string const& /*path*/) const override { return text_; }

 private:
  std::string text_;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
