// SPDX-License-Identifier: Apache-2.0
// The header on the wire, the checks of a request in their order, the mapping of application errors, the framing.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/src/com/connection/frame_buffer.h"
#include "platform/src/com/message/header.h"
#include "platform/src/com/message/outcome.h"
#include "platform/src/com/message/request_check.h"
#include "tests/platform/com/discovery/hex.h"

namespace linux_platform::com {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Kind = Request_verdict::Kind;
using Result = Frame_buffer::Result;

char const* const request_hex = "60 01 00 01 00 00 00 12 00 42 00 01 01 01 00 00  00 00 00 06 EF BB BF 41 42 00";
char const* const response_hex = "60 01 00 01 00 00 00 0C 00 42 00 01 01 01 80 00  00 00 00 2A";
char const* const unknown_method_hex = "60 01 77 77 00 00 00 08 00 42 00 02 01 01 81 03";
char const* const cookie_hex = "FF FF 00 00 00 00 00 08 DE AD BE EF 01 01 01 00";

TEST(AHeader, IsReadAndWrittenByteByByte) {
  for (char const* hex : {request_hex, response_hex, unknown_method_hex}) {
    Bytes const bytes = bytes_of(hex);
    Bytes again(bytes.begin() + Header::size, bytes.end());
    again.insert(again.begin(), Header::size, 0);
    write_header(again.data(), read_header(bytes.data()), static_cast<std::uint32_t>(bytes.size() - Header::size));
    EXPECT_EQ(again, bytes);
    EXPECT_EQ(read_length(bytes.data()) + Header::counted_from, bytes.size());
  }
  Header const header = read_header(bytes_of(unknown_method_hex).data());
  EXPECT_EQ(header.service, 0x6001);
  EXPECT_EQ(header.method, 0x7777);
  EXPECT_EQ(header.client, 0x0042);
  EXPECT_EQ(header.session, 2);
  EXPECT_EQ(header.type, Message_type::error);
  EXPECT_EQ(header.code, Return_code::unknown_method);
}

TEST(AnApplicationError, IsMappedToItsCodeAndBack) {
  for (unsigned number = 1; number <= 63; ++number) {
    Reply_code const reply = application_error_reply(static_cast<std::uint8_t>(number));
    EXPECT_EQ(reply.type, Message_type::error);
    EXPECT_EQ(static_cast<unsigned>(reply.code), 0x1F + number);
    for (Message_type const type : {Message_type::error, Message_type::response}) {
      Outcome const outcome = outcome_of({type, reply.code});
      EXPECT_EQ(outcome.kind, Outcome::Kind::application_error);
      EXPECT_EQ(outcome.number, number);
    }
  }
  for (unsigned const number : {0U, 64U, 255U}) {
    EXPECT_EQ(application_error_reply(static_cast<std::uint8_t>(number)).code, Return_code::not_ok);
  }
  EXPECT_EQ(outcome_of({Message_type::response, Return_code::ok}).kind, Outcome::Kind::result);
  for (unsigned const code : {0x01U, 0x1FU, 0x5FU, 0xFFU}) {
    Outcome const outcome = outcome_of({Message_type::response, Return_code{static_cast<std::uint8_t>(code)}});
    EXPECT_EQ(outcome.kind, Outcome::Kind::communication_error);
    EXPECT_EQ(static_cast<unsigned>(outcome.code), code);
  }
  EXPECT_EQ(outcome_of({Message_type::error, Return_code::ok}).code, Return_code::not_ok);
}

struct Check {
  char const* what;
  Header header;
  Kind kind;
  Return_code error;
};

TEST(ARequest, IsCheckedInTheOrderOfTheProtocol) {
  constexpr std::uint8_t major = 1;
  Header good;
  good.interface_version = major;
  auto const with = [&](auto change) {
    Header header = good;
    change(header);
    return header;
  };
  auto const service_known = [](Header const& header) { return header.service == 0; };
  std::vector<Check> const table{
      {"good", good, Kind::serve, Return_code::ok},
      {"a return code does no harm to a good one", with([](Header& h) { h.code = Return_code::not_ok; }), Kind::serve,
       Return_code::ok},
      {"version before service", with([](Header& h) {
         h.protocol_version = 2;
         h.service = 9;
       }),
       Kind::answer_with_error, Return_code::wrong_protocol_version},
      {"service before interface", with([](Header& h) {
         h.service = 9;
         h.interface_version = 9;
       }),
       Kind::answer_with_error, Return_code::unknown_service},
      {"interface before method", with([](Header& h) {
         h.interface_version = 9;
         h.method = 9;
       }),
       Kind::answer_with_error, Return_code::wrong_interface_version},
      {"method", with([](Header& h) { h.method = 9; }), Kind::answer_with_error, Return_code::unknown_method},
      {"no error for an error", with([](Header& h) {
         h.method = 9;
         h.code = Return_code::not_ok;
       }),
       Kind::discard, Return_code::unknown_method},
      {"event", with([](Header& h) {
         h.method = 0x8001;
         h.protocol_version = 2;
       }),
       Kind::discard, Return_code::ok},
  };
  for (Check const& row : table) {
    Addressed const addressed{service_known(row.header), major, row.header.method == 0};
    Request_verdict const verdict = check_request(row.header, addressed);
    EXPECT_EQ(verdict.kind, row.kind) << row.what;
    EXPECT_EQ(verdict.error, row.error) << row.what;
  }
  for (unsigned const type : {0x01U, 0x02U, 0x20U, 0x40U, 0x55U, 0x80U, 0x81U, 0xA0U}) {
    Header header = good;
    header.type = Message_type{static_cast<std::uint8_t>(type)};
    header.service = 9;
    EXPECT_EQ(check_request(header, {}).kind, Kind::discard) << type;
  }
}

// Feeds the bytes in pieces of `piece` bytes; the messages that come out, headers included.
std::vector<Bytes> frames(Frame_buffer& buffer, Bytes const& bytes, std::size_t piece, Result& last) {
  std::vector<Bytes> out;
  for (std::size_t at = 0; at < bytes.size();) {
    auto const room = buffer.room();
    std::size_t const size = std::min({piece, room.size, bytes.size() - at});
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), size, room.data);
    buffer.filled(size);
    at += size;
    Message_view message;
    while ((last = buffer.next(message)) == Result::message) {
      Bytes whole(Header::size);
      whole.insert(whole.end(), message.payload, message.payload + message.payload_size);
      write_header(whole.data(), message.header, static_cast<std::uint32_t>(message.payload_size));
      out.push_back(whole);
    }
    if (last == Result::broken) {
      return out;
    }
  }
  return out;
}

TEST(AFrameBuffer, CutsTheStreamAlikeHoweverItArrives) {
  Bytes long_one = bytes_of(response_hex);
  long_one.resize(40'000, 0x5A);
  write_header(long_one.data(), read_header(long_one.data()), 40'000 - Header::size);
  std::vector<Bytes> const messages{bytes_of(request_hex), long_one, bytes_of(unknown_method_hex)};
  Bytes stream = bytes_of(cookie_hex);
  for (Bytes const& message : messages) {
    stream.insert(stream.end(), message.begin(), message.end());
    Bytes const cookie = bytes_of(cookie_hex);
    stream.insert(stream.end(), cookie.begin(), cookie.end());
  }
  for (std::size_t const piece : {std::size_t{1}, std::size_t{7}, std::size_t{16}, std::size_t{1000}, stream.size()}) {
    Frame_buffer buffer(40'000);
    Result last{};
    EXPECT_EQ(frames(buffer, stream, piece, last), messages) << "in pieces of " << piece;
    EXPECT_EQ(last, Result::need_more);
    EXPECT_FALSE(buffer.inside_message());
  }
}

TEST(AFrameBuffer, TellsAnImpossibleLengthBeforeTheMessageIsThere) {
  constexpr std::size_t limit = 100;
  struct Row {
    char const* length;
    Result result;
  };
  for (Row const& row : {Row{"00 00 00 00", Result::broken}, Row{"00 00 00 07", Result::broken},
                         Row{"00 00 00 08", Result::need_more}, Row{"00 00 00 5C", Result::need_more},
                         Row{"00 00 00 5D", Result::broken}, Row{"FF FF FF FF", Result::broken}}) {
    Frame_buffer buffer(limit);
    Result last{};
    EXPECT_TRUE(frames(buffer, bytes_of(std::string("60 01 00 01 ") + row.length), 1, last).empty());
    EXPECT_EQ(last, row.result) << row.length;
  }
}

}  // namespace
}  // namespace linux_platform::com
