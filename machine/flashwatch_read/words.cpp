// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/words.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace flashwatch_read {
namespace {

struct Entry {
  std::uint8_t code;
  char const* text;
};

constexpr std::array<Entry, 22> negative_responses{{
    {0x10, "general reject (the machine got no answer from flashwatch in time)"},
    {0x11, "service not supported (flashwatch answers so when it cannot get the statistics)"},
    {0x12, "sub-function not supported"},
    {0x13, "incorrect message length or invalid format"},
    {0x14, "response too long"},
    {0x21, "busy, repeat request"},
    {0x22, "conditions not correct (flashwatch may not be running)"},
    {0x24, "request sequence error"},
    {0x25, "no response from sub-net component"},
    {0x26, "failure prevents execution of requested action"},
    {0x31, "request out of range (the machine does not know this identifier)"},
    {0x33, "security access denied"},
    {0x34, "authentication required"},
    {0x70, "upload or download not accepted"},
    {0x72, "general programming failure"},
    {0x78, "response pending"},
    {0x7E, "sub-function not supported in active session"},
    {0x7F, "service not supported in active session"},
    {0x83, "engine is running"},
    {0x88, "vehicle speed too high"},
    {0x92, "voltage too high"},
    {0x93, "voltage too low"},
}};

constexpr std::array<Entry, 10> activations{{
    {0x00, "this tester address is not known to the entity"},
    {0x01, "all of the entity's connections are taken by active testers"},
    {0x02, "another tester address is already active on this connection"},
    {0x03, "this tester address is already active on another connection"},
    {0x04, "authentication is missing"},
    {0x05, "the confirmation was rejected"},
    {0x06, "this activation type is not supported"},
    {0x07, "the entity asks for an encrypted connection"},
    {0x10, "activated"},
    {0x11, "somebody has to confirm the activation in the vehicle first"},
}};

constexpr std::array<Entry, 7> diagnostic_nacks{{
    {0x02, "invalid source address (the tester address is not active on this connection)"},
    {0x03, "unknown target address (is --entity-address right?)"},
    {0x04, "diagnostic message too large"},
    {0x05, "out of memory"},
    {0x06, "target unreachable"},
    {0x07, "unknown network"},
    {0x08, "transport protocol error"},
}};

constexpr std::array<Entry, 5> header_nacks{{
    {0x00, "incorrect pattern format or protocol version"},
    {0x01, "unknown payload type"},
    {0x02, "message too large"},
    {0x03, "out of memory"},
    {0x04, "invalid payload length"},
}};

template <std::size_t n>
std::string in_words(std::array<Entry, n> const& table, std::uint8_t code) {
  auto const* const found =
      std::find_if(table.begin(), table.end(), [code](Entry const& entry) { return entry.code == code; });
  return hex_text(code, 2) + ", " + (found == table.end() ? "a code without a known meaning" : found->text);
}

}  // namespace

std::string negative_response_words(std::uint8_t code) { return in_words(negative_responses, code); }
std::string activation_words(std::uint8_t code) { return in_words(activations, code); }
std::string diagnostic_nack_words(std::uint8_t code) { return in_words(diagnostic_nacks, code); }
std::string header_nack_words(std::uint8_t code) { return in_words(header_nacks, code); }

std::string hex_text(std::uint32_t value, unsigned digits) {
  std::string text;
  while (value != 0 || text.size() < digits) {
    text.insert(text.begin(), "0123456789ABCDEF"[value % 16]);
    value /= 16;
  }
  return "0x" + text;
}

std::string limit_text(std::chrono::milliseconds limit) {
  auto const count = limit.count();
  return count % 1000 == 0 ? std::to_string(count / 1000) + " s" : std::to_string(count) + " ms";
}

}  // namespace flashwatch_read
