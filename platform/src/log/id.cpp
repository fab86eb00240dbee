// SPDX-License-Identifier: Apache-2.0
#include "platform/src/log/id.h"

#include <algorithm>
#include <cstddef>

#include "platform/src/log/complaint.h"

namespace linux_platform::log {

namespace {

constexpr std::size_t longest_id = 4;

}  // namespace

std::string mended_id(std::string_view what, std::string_view id) {
  std::string mended(id.substr(0, longest_id));
  std::replace_if(
      mended.begin(), mended.end(), [](char c) { return c <= ' ' || c > '~'; }, '?');
  if (mended.empty()) {
    mended = "----";
  }
  if (mended != id) {
    complain({what, " \"", id, "\" is not one to four visible ASCII characters; \"", mended, "\" is used"});
  }
  return mended;
}

}  // namespace linux_platform::log
