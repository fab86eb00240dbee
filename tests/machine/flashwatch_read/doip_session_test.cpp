// SPDX-License-Identifier: Apache-2.0
// A session over a stream that arrives in any pieces; what goes wrong on the way is tested on the whole tool.
#include "machine/flashwatch_read/doip_session.h"

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "machine/flashwatch_read/identifier_reader.h"

namespace flashwatch_read {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// What the entity sends and what it got.
struct Wire {
  Bytes to_tester;
  Bytes from_tester;
  std::size_t piece = 1;  ///< at most so many bytes arrive at once
};

class Scripted_stream final : public Byte_stream_if {
 public:
  explicit Scripted_stream(Wire& wire) : wire_{wire} {}

  void send(Byte_view bytes, Deadline) override {
    wire_.from_tester.insert(wire_.from_tester.end(), bytes.begin(), bytes.end());
  }
  Bytes receive(std::size_t most, Deadline) override {
    auto const size = static_cast<std::ptrdiff_t>(std::min({most, wire_.piece, wire_.to_tester.size()}));
    if (size == 0) {
      throw Stream_error{Stream_error::Kind::timed_out, "nothing more"};
    }
    Bytes part{wire_.to_tester.begin(), wire_.to_tester.begin() + size};
    wire_.to_tester.erase(wire_.to_tester.begin(), wire_.to_tester.begin() + size);
    return part;
  }

 private:
  Wire& wire_;
};

Bytes operator+(Bytes left, Bytes const& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

Bytes const activation_request{0x02, 0xFD, 0x00, 0x05, 0, 0, 0, 7, 0x0E, 0x80, 0x00, 0, 0, 0, 0};
Bytes const activation_response{0x02, 0xFD, 0x00, 0x06, 0, 0, 0, 9, 0x0E, 0x80, 0x10, 0x01, 0x10, 0, 0, 0, 0};
Bytes const read_request{0x02, 0xFD, 0x80, 0x01, 0, 0, 0, 7, 0x0E, 0x80, 0x10, 0x01, 0x22, 0x17, 0xF2};
Bytes const read_ack{0x02, 0xFD, 0x80, 0x02, 0, 0, 0, 5, 0x10, 0x01, 0x0E, 0x80, 0x00};
Bytes const read_response{0x03, 0xFC, 0x80, 0x01, 0, 0, 0, 8, 0x10, 0x01, 0x0E, 0x80, 0x62, 0x17, 0xF2, 0x01};
Bytes const alive_request{0x02, 0xFD, 0x00, 0x07, 0, 0, 0, 0};
Bytes const alive_response{0x02, 0xFD, 0x00, 0x08, 0, 0, 0, 2, 0x0E, 0x80};

struct A_session : ::testing::Test {
  Wire wire;
  Tester_settings settings;
  Doip_session session{std::make_unique<Scripted_stream>(wire), settings};
};

TEST_F(A_session, ReadsAnIdentifierHoweverTheStreamIsSplit) {
  for (std::size_t const piece : {1U, 2U, 3U, 7U, 9U, 100U}) {
    wire = {activation_response + read_ack + alive_request + read_response, {}, piece};

    session.activate_routing();

    EXPECT_THAT(read_identifier(session, settings, 0x17F2), ElementsAre(0x01));
    EXPECT_EQ(wire.from_tester, activation_request + read_request + alive_response);
  }
}

TEST_F(A_session, AnswersAliveChecksWhileItIdlesAndKeepsWhatItHasOfAMessage) {
  auto const stream = alive_request + alive_request;
  wire = {{stream.begin(), stream.end() - 3}, {}, 100};
  session.idle_until(Deadline{});
  EXPECT_EQ(wire.from_tester, alive_response);

  wire.to_tester = {stream.end() - 3, stream.end()};
  session.idle_until(Deadline{});
  EXPECT_EQ(wire.from_tester, alive_response + alive_response);
}

TEST_F(A_session, RefusesALongMessageBeforeItsPayload) {
  wire = {{0x02, 0xFD, 0x80, 0x01, 0, 1, 0, 1}, {}, 100};
  try {
    session.next_response(std::chrono::seconds{5});
    FAIL();
  } catch (Read_error const& error) {
    EXPECT_THAT(error.what(), HasSubstr("65537 bytes, more than 65536"));
  }
}

}  // namespace
}  // namespace flashwatch_read
