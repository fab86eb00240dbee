// SPDX-License-Identifier: Apache-2.0
// The bytes of discovery messages, both ways, and what becomes of damaged ones.
#include "platform/src/com/discovery/message.h"

#include <array>
#include <sstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "tests/platform/com/hex.h"

namespace linux_platform::com::discovery {
namespace {

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

std::string const header = "FF FF 81 00 00 00 00 30 00 00 00 01 01 01 02 00 C0 00 00 00 ";
std::string const offer = "01 00 00 10 60 01 00 01 01 00 00 03 00 00 00 00 ";
std::string const option = "00 09 04 00 C0 00 02 0A 00 06 77 2D ";
std::string const one_entry = "00 00 00 10 ";
std::string const one_option = "00 00 00 0C ";
std::string const good = header + one_entry + offer + one_option + option;

TEST(DiscoveryMessage, IsParsedAndBuiltByteForByte) {
  for (auto const& [hex, text] : std::vector<std::pair<std::string, std::string>>{
           {good, "1 reboot, offer 6001.1 v1.0 ttl 3 192.0.2.10:30509/6"},
           {"FF FF 81 00 00 00 00 30 00 00 00 02 01 01 02 00 C0 00 00 00 00 00 00 10 "
            "01 00 00 10 60 01 00 01 01 00 00 00 00 00 00 00 00 00 00 0C 00 09 04 00 C0 00 02 0A 00 06 77 2D",
            "2 reboot, offer 6001.1 v1.0 ttl 0 192.0.2.10:30509/6"},
           {"FF FF 81 00 00 00 00 24 00 00 00 01 01 01 02 00 C0 00 00 00 00 00 00 10 "
            "00 00 00 00 60 01 FF FF FF 00 00 03 FF FF FF FF 00 00 00 00",
            "1 reboot, find 6001.ffff vff.ffffffff ttl 3"},
           {"FF FF 81 00 00 00 00 4C 00 00 FF FE 01 01 02 00 40 00 00 00 00 00 00 20 " + offer +
                "01 01 00 10 60 10 00 01 02 12 34 56 00 00 00 07 00 00 00 18 " + option +
                "00 09 04 00 C0 00 02 0A 00 06 77 2E",
            "65534, offer 6001.1 v1.0 ttl 3 192.0.2.10:30509/6, offer 6010.1 v2.7 ttl 1193046 192.0.2.10:30510/6"}}) {
    auto const bytes = bytes_of(hex);
    EXPECT_EQ(read(bytes), text);
    EXPECT_EQ(build_message(parse_message(bytes.data(), bytes.size()).value()), bytes) << text;
  }
}

TEST(DiscoveryMessage, CutOrDamagedInItsHeaderOrEntriesIsIgnored) {
  auto const bytes = bytes_of(good);
  for (std::ptrdiff_t size = 0; size < static_cast<std::ptrdiff_t>(bytes.size()); ++size) {
    EXPECT_EQ(read(Bytes(bytes.begin(), bytes.begin() + size)), "ignored") << size;
  }
  // service, method, length beyond the datagram and below the fixed part, protocol and interface version, type, return
  // code; entries length not a multiple, beyond the rest, huge
  for (char const* damage : {"0060", "0301", "0731", "0713", "0C02", "0D02", "0E00", "0F01", "1711", "1740", "14FF"}) {
    auto const offset_and_value = bytes_of(damage);
    auto bad = bytes;
    bad.at(offset_and_value[0]) = offset_and_value[1];
    EXPECT_EQ(read(bad), "ignored") << damage;
  }
  auto other_client = bytes;
  other_client[9] = 1;
  EXPECT_NE(read(other_client), "ignored");
}

TEST(DiscoveryMessage, OptionsSpoilOnlyTheEntriesThatReferToThem) {
  std::string const udp = "00 09 04 00 C0 00 02 0A 00 11 77 2D ";
  std::string const two_runs = "01 00 01 11 60 01 00 01 01 00 00 03 00 00 00 00 ";
  std::string const find = "00 07 00 00 60 01 00 01 01 00 00 03 00 00 00 00 ";
  std::string const tcp_read = " 192.0.2.10:30509/6";
  for (auto const& [name, entry, options, text] : std::vector<std::array<std::string, 4>>{
           {"two runs", two_runs, "00 00 00 18 " + option + udp, tcp_read + " 192.0.2.10:30509/17"},
           {"a repeat counts once", two_runs, "00 00 00 18 " + option + option, tcp_read},
           {"an unknown kind is passed over", two_runs, "00 00 00 11 00 02 01 00 00 " + option, tcp_read},
           {"run beyond", "01 00 00 20" + offer.substr(11), one_option + option, " bad"},
           {"one of two runs beyond", two_runs, one_option + option, " bad" + tcp_read},
           {"index of an empty run", find, "00 00 00 00 ", ""},
           {"array longer than the rest", offer, "00 00 00 0D " + option, " bad"},
           {"array not there", offer, "", " bad"},
           {"option longer than the array", offer, one_option + "00 0A" + option.substr(5), " bad"},
           {"option without length", offer, one_option + "00 00" + option.substr(5), " bad"},
           {"endpoint of wrong length", offer, "00 00 00 0B 00 08 04 00 C0 00 02 0A 00 06 77", " bad"},
           {"damaged array, entry without options", find, "00 00 00 0D " + option, ""},
           {"the sender's endpoint", find, one_option + "00 09 24" + option.substr(8), " from 192.0.2.10:30509"}}) {
    auto bytes = bytes_of(header + "00 00 00 20 05" + offer.substr(2) + entry + options);  // 05 is no known entry
    bytes[7] = static_cast<std::uint8_t>(bytes.size() - 8);
    auto const type = entry == find ? "find" : "offer";
    EXPECT_EQ(read(bytes), std::string{"1 reboot, "} + type + " 6001.1 v1.0 ttl 3" + text) << name;
  }
}

}  // namespace
}  // namespace linux_platform::com::discovery
