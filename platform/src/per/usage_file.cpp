// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/usage_file.h"

#include <sys/stat.h>
#include <unistd.h>

namespace linux_platform::per {
namespace {

/// "fwUsage" and the version of the layout.
constexpr std::uint64_t mark = 0x6677557361676501ULL;
/// A word can be caught half written. It takes a writer that writes all the time to spoil this many readings.
constexpr int reading_limit = 16;

std::optional<Usage_file::Words> read_words(int descriptor) noexcept {
  Usage_file::Words words{};
  auto const got = pread(descriptor, words.data(), Usage_file::size, 0);
  return got == static_cast<ssize_t>(Usage_file::size) ? std::optional(words) : std::nullopt;
}

}  // namespace

Usage_file::Words Usage_file::to_words() const noexcept {
  return {mark,        store_id,       base.read, base.write, base.setvalue, start.read,
          start.write, start.setvalue, run.read,  run.write,  run.setvalue};
}

std::optional<Usage_file> Usage_file::from_words(Words const& words) noexcept {
  Usage_file const file{
      words[1], {words[2], words[3], words[4]}, {words[5], words[6], words[7]}, {words[8], words[9], words[10]}};
  return words[0] == mark && covers(file.run, file.start) ? std::optional(file) : std::nullopt;
}

std::optional<Usage_file> Usage_file::load(int descriptor) noexcept {
  struct stat status {};
  if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size != static_cast<off_t>(size)) {
    return std::nullopt;
  }
  auto words = read_words(descriptor);
  for (int i = 0; i < reading_limit; ++i) {
    auto const again = read_words(descriptor);
    if (again == words) {
      break;
    }
    words = again;
  }
  return words ? from_words(*words) : std::nullopt;
}

}  // namespace linux_platform::per
