// SPDX-License-Identifier: Apache-2.0
// Text from outside on its way to the console, as two pieces of one line: the size of the first, then both.
#include <climits>

#include "platform/src/com/serializer/utf8.h"
#include "platform/src/log/console_line.h"
#include "tests/fuzz/fuzz.h"

void fuzz::check(Input input) {
  auto const first = input.take(std::size_t{16} * input.u8());
  std::string const second = input.text();
  linux_platform::log::Console_line line;
  line.append_word("word ");
  line.append_text({reinterpret_cast<char const*>(first.data()), first.size()});
  line.append(linux_platform::log::Piece(std::string_view(second)));
  std::string const finished(line.finish());
  fuzz::require(finished.size() <= PIPE_BUF, "a pipe takes a line whole");
  fuzz::require(finished.find('\n') == finished.size() - 1, "a line ends once");
  fuzz::require(fuzz::is_one_plain_line(finished.substr(0, finished.size() - 1)), "a line steers no terminal");
  fuzz::require(linux_platform::com::is_utf8(finished), "a line is UTF-8");
}
