// SPDX-License-Identifier: Apache-2.0
// The bytes of discovery messages, both ways, and what becomes of damaged ones.
#include "platform/src/com/discovery/message.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/platform/com/discovery/hex.h"

namespace linux_platform::com::discovery {
namespace {

using boost::asio::ip::make_address_v4;

std::string const header = "FF FF 81 00 00 00 00 30 00 00 00 01 01 01 02 00 C0 00 00 00 ";
std::string const offer = "01 00 00 10 60 01 00 01 01 00 00 03 00 00 00 00 ";
std::string const option = "00 09 04 00 C0 00 02 0A 00 06 77 2D ";
std::string const one_entry = "00 00 00 10 ";
std::string const one_option = "00 00 00 0C ";

Entry entry(Entry_type type, Service_key const& key, std::uint32_t ttl, std::vector<Endpoint_option> endpoints) {
  Entry made;
  made.type = type;
  made.key = key;
  made.ttl = ttl;
  made.endpoints = std::move(endpoints);
  return made;
}

Endpoint_option tcp(char const* address, std::uint16_t port) { return {make_address_v4(address), protocol_tcp, port}; }

struct Vector {
  char const* name;
  Message message;
  std::string bytes;
};

std::vector<Vector> vectors() {
  Service_key const statistics{0x6001, 1, 1, 0};
  Entry refusal = entry(Entry_type::subscribe_ack, {0x6001, 1, 1, 0}, 0, {});
  refusal.eventgroup = 0x0102;
  refusal.counter = 5;
  auto const endpoint = tcp("192.0.2.10", 30509);
  return {
      {"offer",
       {1, true, {entry(Entry_type::offer, statistics, 3, {endpoint})}, {}},
       header + one_entry + offer + one_option + option},
      {"stop offer",
       {2, true, {entry(Entry_type::offer, statistics, 0, {endpoint})}, {}},
       "FF FF 81 00 00 00 00 30 00 00 00 02 01 01 02 00 C0 00 00 00 00 00 00 10 "
       "01 00 00 10 60 01 00 01 01 00 00 00 00 00 00 00 00 00 00 0C 00 09 04 00 C0 00 02 0A 00 06 77 2D"},
      {"find any",
       {1, true, {entry(Entry_type::find, {0x6001, any_instance, any_major, any_minor}, 3, {})}, {}},
       "FF FF 81 00 00 00 00 24 00 00 00 01 01 01 02 00 C0 00 00 00 00 00 00 10 "
       "00 00 00 00 60 01 FF FF FF 00 00 03 FF FF FF FF 00 00 00 00"},
      {"refused subscription, after the wrap",
       {0xFFFE, false, {refusal}, {}},
       "FF FF 81 00 00 00 00 24 00 00 FF FE 01 01 02 00 40 00 00 00 00 00 00 10 "
       "07 00 00 00 60 01 00 01 01 00 00 00 00 05 01 02 00 00 00 00"},
      {"two services, each with its option",
       {1,
        true,
        {entry(Entry_type::offer, statistics, 3, {endpoint}),
         entry(Entry_type::offer, {0x6010, 1, 1, 0}, 3, {tcp("192.0.2.10", 30510)})},
        {}},
       "FF FF 81 00 00 00 00 4C 00 00 00 01 01 01 02 00 C0 00 00 00 00 00 00 20 " + offer +
           "01 01 00 10 60 10 00 01 01 00 00 03 00 00 00 00 00 00 00 18 " + option +
           "00 09 04 00 C0 00 02 0A 00 06 77 2E"},
  };
}

TEST(DiscoveryMessage, IsBuiltAndParsedByteForByte) {
  for (auto const& vector : vectors()) {
    SCOPED_TRACE(vector.name);
    auto const bytes = bytes_of(vector.bytes);
    EXPECT_EQ(build_message(vector.message), bytes);
    auto const parsed = parse_message(bytes.data(), bytes.size());
    ASSERT_TRUE(parsed);
    EXPECT_EQ(build_message(*parsed), bytes);
  }
}

TEST(DiscoveryMessage, CutAnywhereIsIgnored) {
  auto const bytes = bytes_of(header + one_entry + offer + one_option + option);
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    std::vector<std::uint8_t> const cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_FALSE(parse_message(cut.data(), cut.size())) << size;
  }
}

TEST(DiscoveryMessage, DamagedInItsHeaderOrEntriesIsIgnored) {
  auto const good = bytes_of(header + one_entry + offer + one_option + option);
  struct Case {
    char const* name;
    std::size_t offset;
    std::uint8_t value;
  };
  for (auto const& c :
       {Case{"service", 0, 0x60}, Case{"method", 3, 0x01}, Case{"length beyond the datagram", 7, 0x31},
        Case{"length below the fixed part", 7, 0x13}, Case{"protocol version", 12, 2}, Case{"interface version", 13, 2},
        Case{"message type", 14, 0}, Case{"return code", 15, 1}, Case{"entries length odd", 23, 0x11},
        Case{"entries length beyond the rest", 23, 0x40}, Case{"entries length huge", 20, 0xFF}}) {
    auto bad = good;
    bad[c.offset] = c.value;
    EXPECT_FALSE(parse_message(bad.data(), bad.size())) << c.name;
  }
  auto other_client = good;
  other_client[9] = 1;
  EXPECT_TRUE(parse_message(other_client.data(), other_client.size()));
}

struct Options_case {
  char const* name;
  std::string entry;  // behind the header and the entries length
  std::string options;
  bool valid;
  std::size_t endpoints;
};

TEST(DiscoveryMessage, OptionsSpoilOnlyTheEntriesThatReferToThem) {
  std::string const udp = "00 09 04 00 C0 00 02 0A 00 11 77 2D ";
  std::string const configuration = "00 02 01 00 00 ";
  std::string const two_runs = "01 00 01 11 60 01 00 01 01 00 00 03 00 00 00 00 ";
  std::string const find = "00 07 00 00 60 01 00 01 01 00 00 03 00 00 00 00 ";
  for (auto const& c : {
           Options_case{"two runs", two_runs, "00 00 00 18 " + option + udp, true, 2},
           Options_case{"a repeat counts once", two_runs, "00 00 00 18 " + option + option, true, 1},
           Options_case{"an unknown kind is passed over", two_runs, "00 00 00 11 " + configuration + option, true, 1},
           Options_case{"index beyond", two_runs, one_option + option, false, 1},
           Options_case{"run beyond", "01 00 00 20 60 01 00 01 01 00 00 03 00 00 00 00 ", one_option + option, false,
                        0},
           Options_case{"index of an empty run", find, "00 00 00 00 ", true, 0},
           Options_case{"array longer than the rest", offer, "00 00 00 0D " + option, false, 0},
           Options_case{"array not there", offer, "", false, 0},
           Options_case{"option longer than the array", offer, one_option + "00 0A 04 00 C0 00 02 0A 00 06 77 2D",
                        false, 0},
           Options_case{"option without length", offer, one_option + "00 00 04 00 C0 00 02 0A 00 06 77 2D", false, 0},
           Options_case{"endpoint of wrong length", offer, "00 00 00 0B 00 08 04 00 C0 00 02 0A 00 06 77", false, 0},
           Options_case{"damaged array, entry without options", find, "00 00 00 0D " + option, true, 0},
       }) {
    SCOPED_TRACE(c.name);
    auto bytes = bytes_of(header + one_entry + c.entry + c.options);
    bytes[7] = static_cast<std::uint8_t>(bytes.size() - 8);
    auto const message = parse_message(bytes.data(), bytes.size());
    ASSERT_TRUE(message);
    ASSERT_EQ(message->entries.size(), 1U);
    EXPECT_EQ(message->entries[0].options_valid, c.valid);
    EXPECT_EQ(message->entries[0].endpoints.size(), c.endpoints);
  }
}

TEST(DiscoveryMessage, LeavesOutEntriesOfUnknownTypeAndReadsTheSendersEndpoint) {
  auto bytes = bytes_of(header + "00 00 00 20 05" + offer.substr(2) + offer + one_option +
                        "00 09 24 00 C0 00 02 63 00 11 77 1A ");
  bytes[7] = static_cast<std::uint8_t>(bytes.size() - 8);
  auto const message = parse_message(bytes.data(), bytes.size());
  ASSERT_TRUE(message);
  ASSERT_EQ(message->entries.size(), 1U);
  EXPECT_EQ(message->entries[0].type, Entry_type::offer);
  EXPECT_TRUE(message->entries[0].endpoints.empty());
  EXPECT_EQ(message->sender, (Endpoint_option{make_address_v4("192.0.2.99"), protocol_udp, 30490}));
}

}  // namespace
}  // namespace linux_platform::com::discovery
