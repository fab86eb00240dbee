// SPDX-License-Identifier: Apache-2.0
// A stream of bytes cut into messages.
#include "platform/src/com/connection/frame_buffer.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "tests/platform/com/hex.h"
#include "tests/platform/com/raw_peer.h"

namespace linux_platform::com {
namespace {

using testing_support::Bytes;
using testing_support::joined;
using Result = Frame_buffer::Result;

TEST(AFrameBuffer, CutsTheStreamAlikeHoweverItArrives) {
  constexpr std::size_t limit = 40'000;
  Bytes const request = bytes_of("60010001 00000012 00420001 01010000 00000006 EFBBBF414200");
  Bytes const cookie = bytes_of("FFFF0000 00000008 DEADBEEF 01010100");
  std::vector<Bytes> const messages{request, testing_support::answer(request, Bytes(limit - Header::size, 0x5A)),
                                    testing_support::answer(request, {}, 3)};
  Bytes const stream = joined({cookie, messages[0], cookie, messages[1], cookie, cookie, messages[2], cookie});
  for (std::size_t const piece : {std::size_t{1}, std::size_t{7}, std::size_t{16}, std::size_t{1000}, stream.size()}) {
    Frame_buffer buffer(limit);
    std::vector<Bytes> out;
    for (std::size_t at = 0; at < stream.size();) {
      auto const room = buffer.room();
      std::size_t const size = std::min({piece, room.size, stream.size() - at});
      std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(at), size, room.data);
      buffer.filled(size);
      at += size;
      Message_view next;
      Result result{};
      while ((result = buffer.next(next)) == Result::message) {
        out.push_back(testing_support::message(next.header, {next.payload, next.payload + next.payload_size}));
      }
      ASSERT_EQ(result, Result::need_more);
    }
    EXPECT_EQ(out, messages) << "in pieces of " << piece;
    EXPECT_FALSE(buffer.inside_message());
  }
}

}  // namespace
}  // namespace linux_platform::com
