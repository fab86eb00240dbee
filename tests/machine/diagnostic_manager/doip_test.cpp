// SPDX-License-Identifier: Apache-2.0
// The DoIP codec: what a byte stream is cut into however it arrives, what a datagram is answered, and the bytes
// written.
#include <algorithm>
#include <string>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "machine/diagnostic_manager/doip/messages.h"
#include "machine/diagnostic_manager/doip/stream_parser.h"
#include "machine/diagnostic_manager/doip/udp_entity.h"
#include "tests/machine/diagnostic_manager/script.h"

namespace machine::diagnostic_manager::doip {
namespace {

constexpr std::uint32_t max_data_size = 64;

std::string describe(Stream_parser::Step const& step) {
  if (auto const* message = std::get_if<Stream_parser::Message>(&step)) {
    return std::to_string(message->version) + ":" + std::to_string(static_cast<unsigned>(message->type)) + ":" +
           to_hex(message->payload) + " ";
  }
  auto const& refusal = std::get<Stream_parser::Refusal>(step);
  return "nack" + std::to_string(static_cast<unsigned>(refusal.code)) + " ";
}

/// Feeds `stream` in pieces until its end or a refusal that ends the connection.
std::string parse(Bytes const& stream, std::size_t piece, Memory_budget& budget) {
  Stream_parser parser(max_data_size, budget);
  std::string seen;
  for (std::size_t at = 0; at < stream.size(); at += piece) {
    Byte_view part = Byte_view(stream).after(at).first(piece);
    for (auto step = parser.next(part); !std::holds_alternative<Stream_parser::Need_more>(step);
         step = parser.next(part)) {
      seen += describe(step);
      auto const* refusal = std::get_if<Stream_parser::Refusal>(&step);
      if (refusal != nullptr && ends_connection(refusal->code)) {
        return seen + "end";
      }
    }
  }
  return seen;
}

struct Stream_row {
  char const* name;
  std::string stream;
  std::string seen;
  std::size_t memory = 1000;
};

std::string const activation = "02FD0005 00000007 0E80 00 00000000";
std::string const diagnostic = "03FC8001 00000007 0E801001 22F190";
std::string const seen_activation = "2:5:0E800000000000 ";
std::string const seen_diagnostic = "3:32769:0E80100122F190 ";

TEST(AStream, IsCutTheSameHoweverItArrives) {
  std::vector<Stream_row> const rows{
      {"two messages", activation + diagnostic, seen_activation + seen_diagnostic},
      {"a cut header", "02FD0005 000000", ""},
      {"a cut payload", "02FD0005 00000007 0E80 00 000000", ""},
      {"activation with manufacturer bytes", "02FD0005 0000000B 0E80 00 00000000 01020304",
       "2:5:0E80000000000001020304 "},
      {"alive check response", "02FD0008 00000002 0E80", "2:8:0E80 "},
      {"wrong inverse version", "02FE0005 00000007 0E800000000000" + activation, "nack0 end"},
      {"version 1", "01FE0005 00000007 0E800000000000", "nack0 end"},
      {"version 4", "04FB0005 00000007 0E800000000000", "nack0 end"},
      {"version left open where it may not be", "FF000005 00000007 0E800000000000", "nack0 end"},
      {"unknown type", "02FD1234 00000003 AABBCC" + activation, "nack1 " + seen_activation},
      {"a type of the other transport", "02FD0001 00000000" + activation, "nack1 " + seen_activation},
      {"an answer instead of a request", "02FD8002 00000005 0E80100100" + activation, "nack1 " + seen_activation},
      {"unknown type that claims 4 GiB", "02FD1234 FFFFFFFF 0011", "nack1 "},
      {"the longest payload", "02FD8001 00000040" + std::string(128, '1'), "2:32769:" + std::string(128, '1') + " "},
      {"one byte longer", "02FD8001 00000041" + std::string(130, '1') + activation, "nack2 " + seen_activation},
      {"no memory", activation + diagnostic, "nack3 nack3 ", 6},
      {"memory for one after the other", activation + activation, seen_activation + seen_activation, 7},
      {"activation too short", "02FD0005 00000006 0E8000000000" + activation, "nack4 end"},
      {"activation of no legal length", "02FD0005 00000008 0E80000000000000", "nack4 end"},
      {"diagnosis without data", "02FD8001 00000004 0E801001", "nack4 end"},
      {"a refusal is not refused", "02FD0000 00000001 02" + activation, seen_activation},
      {"nor an over-long one", "02FD0000 00000041" + std::string(130, '1') + activation, seen_activation},
  };
  for (Stream_row const& row : rows) {
    Bytes const stream = from_hex(row.stream);
    for (std::size_t const piece : {stream.size(), std::size_t{1}, std::size_t{3}, std::size_t{9}}) {
      Memory_budget budget(row.memory);
      EXPECT_EQ(parse(stream, piece, budget), row.seen) << row.name << ", in pieces of " << piece;
      EXPECT_TRUE(budget.take(row.memory)) << row.name << ": memory not given back";
    }
  }
}

Udp_entity entity() {
  Udp_entity::Config config;
  config.identity.logical_address = 0x1001;
  std::string const vin = "TESTVIN0000000001";
  std::copy(vin.begin(), vin.end(), config.identity.vin.begin());
  config.identity.eid = config.identity.gid = {2, 0, 0, 0, 0, 1};
  config.max_data_size = max_data_size;
  config.max_sockets = 1;
  config.power_mode = Power_mode::not_ready;
  return {config, [] { return std::size_t{2}; }};
}

TEST(ADatagram, IsAnswered) {
  std::string const named = "00000021 54455354 56494E30 30303030 30303030 31 1001 020000000001 020000000001 00 00 ";
  std::string const announced = to_hex(from_hex("02FD0004" + named)) + "*";
  std::string const vin = "5445535456494E30303030303030303031";
  struct Row {
    char const* name;
    std::string datagram;
    std::string answers;
    Udp_entity::Cast cast = Udp_entity::Cast::unicast;
  };
  std::vector<Row> const rows{
      {"whoever is there", "02FD0001 00000000", announced},
      {"in version 3", "03FC0001 00000000", to_hex(from_hex("03FC0004" + named)) + "*"},
      {"in whatever version", "FF000001 00000000", announced},
      {"by broadcast", "02FD0001 00000000", announced, Udp_entity::Cast::broadcast},
      {"its entity id", "02FD0002 00000006 020000000001", announced},
      {"another entity id", "02FD0002 00000006 020000000002", ""},
      {"its vehicle", "02FD0003 00000011" + vin, announced},
      {"another vehicle", "02FD0003 00000011" + vin.substr(0, 32) + "32", ""},
      {"two requests", "02FD4003 00000000 02FD4001 00000000",
       "02FD40040000000100 02FD4002000000070101010000"
       "0040"},
      {"wrong inverse version", "02FC0001 00000000", "02FD00000000000100"},
      {"another wrong pattern", "01FE4001 00000000", "02FD00000000000100"},
      {"wrong pattern by broadcast", "02FC0001 00000000", "", Udp_entity::Cast::broadcast},
      {"a type of the other transport", "02FD0005 00000000 02FD4003 00000000", "02FD00000000000101"},
      {"too long", "02FD0003 00000041", "02FD00000000000102"},
      {"more than came", "02FD0003 00000011 5445", "02FD00000000000104"},
      {"a length of no such request", "02FD0001 00000001 00", "02FD00000000000104"},
      {"what entities say", "02FD0004 00000000", ""},
      {"a refusal", "02FD0000 00000001 00", ""},
      {"less than a header", "02FD00", ""},
      {"a rest", "02FD4003 00000000 02FD", "02FD40040000000100"},
  };
  for (Row const& row : rows) {
    std::string seen;
    for (Udp_entity::Answer const& answer : entity().answers(from_hex(row.datagram), row.cast)) {
      seen += (seen.empty() ? "" : " ") + to_hex(answer.message) + (answer.after_announce_wait ? "*" : "");
    }
    EXPECT_EQ(seen, row.answers) << row.name;
  }
}

}  // namespace
}  // namespace machine::diagnostic_manager::doip
