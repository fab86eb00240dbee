// SPDX-License-Identifier: Apache-2.0
// The framing of SOME/IP over TCP: piece size, message limit, then the stream. However it is cut, the same messages
// come out, within the limit.
#include "platform/src/com/connection/frame_buffer.h"
#include "tests/fuzz/fuzz.h"

namespace {

using namespace linux_platform::com;
using fuzz::require;

constexpr std::size_t first_buffer = 16384;

fuzz::Bytes written(Header const& header, std::size_t payload_size) {
  fuzz::Bytes bytes(Header::size);
  write_header(bytes.data(), header, static_cast<std::uint32_t>(payload_size));
  return bytes;
}

/// Everything that came out of the stream, one after another, and how it ended.
fuzz::Bytes cut(fuzz::Bytes const& stream, std::size_t piece, std::size_t limit) {
  Frame_buffer buffer(limit, limit / 2);
  fuzz::Bytes out;
  std::size_t fed = 0;
  for (;;) {
    Message_view message;
    bool const told = buffer.has_message();
    auto const result = buffer.next(message);
    require(result == Frame_buffer::Result::need_more || told, "has_message() tells what next() will say");
    if (result == Frame_buffer::Result::message) {
      require(Header::size + message.payload_size <= limit, "no message is beyond the limit");
      require(!is_magic_cookie(message.header), "magic cookies are left out");
      auto const header = written(message.header, message.payload_size);
      out.insert(out.end(), header.begin(), header.end());
      out.insert(out.end(), message.payload, message.payload + message.payload_size);
      continue;
    }
    if (result == Frame_buffer::Result::broken || fed == stream.size()) {
      out.push_back(static_cast<std::uint8_t>(result));
      return out;
    }
    auto const room = buffer.room();
    require(room.size > 0 && room.size <= std::max(limit, first_buffer), "a buffer grows to one message at most");
    auto const count = std::min({piece, room.size, stream.size() - fed});
    std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(fed), count, room.data);
    buffer.filled(count);
    fed += count;
  }
}

}  // namespace

void fuzz::check(Input input) {
  std::size_t const piece = input.u8() + std::size_t{1};
  std::size_t const limit = Header::size + std::size_t{16} * input.u8();
  auto const stream = input.rest();
  auto const out =
      same_in_pieces(stream, piece, [=](Bytes const& all, std::size_t size) { return cut(all, size, limit); });
  require(out.size() <= stream.size() + 1, "nothing comes out that did not come in");
}
