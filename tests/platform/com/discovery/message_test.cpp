// SPDX-License-Identifier: Apache-2.0
// The bytes of discovery messages, both ways, and what becomes of damaged ones.
#include "platform/src/com/discovery/message.h"

#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/platform/com/hex.h"

namespace linux_platform::com::discovery {
namespace {

using nlohmann::json;
using Bytes = std::vector<std::uint8_t>;

// What the parser makes of the bytes: "ignored", or session, reboot flag and the entries.
std::string read(Bytes const& bytes) {
  auto const message = parse_message(bytes.data(), bytes.size());
  if (!message) {
    return "ignored";
  }
  std::ostringstream text;
  text << message->session << (message->reboot ? " reboot" : "");
  for (auto const& e : message->entries) {
    text << ", " << (e.type == Entry_type::find ? "find " : "offer ") << std::hex << e.key.service << '.'
         << e.key.instance << " v" << unsigned{e.key.major} << '.' << e.key.minor << std::dec << " ttl " << e.ttl
         << (e.options_valid ? "" : " bad");
    for (auto const& endpoint : e.endpoints) {
      text << ' ' << endpoint.address << ':' << endpoint.port << '/' << unsigned{endpoint.protocol};
    }
  }
  if (message->sender) {
    text << " from " << message->sender->address << ':' << message->sender->port;
  }
  return text.str();
}

json const rows = json::parse(std::ifstream(MESSAGES));

TEST(DiscoveryMessage, IsParsedAndBuiltByteForByte) {
  for (auto const& row : rows.at("sound")) {
    auto const bytes = bytes_of(row.at("bytes"));
    EXPECT_EQ(read(bytes), row.at("read"));
    EXPECT_EQ(build_message(parse_message(bytes.data(), bytes.size()).value()), bytes) << row;
  }
}

TEST(DiscoveryMessage, CutOrDamagedInItsHeaderOrEntriesIsIgnored) {
  auto const sound = bytes_of(rows.at("sound").at(0).at("bytes"));
  for (auto cut = sound; !cut.empty();) {
    cut.pop_back();
    EXPECT_EQ(read(cut), "ignored") << cut.size();
  }
  for (auto const& row : rows.at("damage")) {
    auto damaged = sound;
    damaged.at(row.at("at")) = bytes_of(row.at("byte")).front();
    EXPECT_EQ(read(damaged), "ignored") << row;
  }
  auto other_client = sound;
  other_client[9] = 1;
  EXPECT_NE(read(other_client), "ignored");
}

TEST(DiscoveryMessage, OptionsSpoilOnlyTheEntriesThatReferToThem) {
  std::string const header = "FFFF8100 00000000 00000001 01010200 C0000000 00000020 ";
  std::string const no_known_entry = "05000010 60010001 01000003 00000000 ";
  for (auto const& row : rows.at("options")) {
    auto bytes = bytes_of(header + no_known_entry + row.value("entry", "") + row.value("options", ""));
    bytes[7] = static_cast<std::uint8_t>(bytes.size() - 8);
    EXPECT_EQ(read(bytes), row.at("read")) << row;
  }
}

}  // namespace
}  // namespace linux_platform::com::discovery
