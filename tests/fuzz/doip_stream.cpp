// SPDX-License-Identifier: Apache-2.0
// What a tester sends to the diagnostic manager: a byte that is the size of the pieces, then the bytes, over TCP and as
// one datagram. However a stream is cut, it gets the same answers, all of them sound, and gives all memory back.
#include <memory>

#include "machine/diagnostic_manager/connections/connection.h"
#include "machine/diagnostic_manager/doip/udp_entity.h"
#include "machine/diagnostic_manager/uds/own_identifiers.h"
#include "tests/fuzz/fuzz.h"

namespace {

using namespace machine::diagnostic_manager;
using fuzz::require;

constexpr std::size_t memory_bytes = 8192;

void check_message(Bytes const& message) {
  auto const header = doip::read_header(message);
  require(header && header->length == message.size() - doip::Header::size, "an answer has the length it says");
  require((header->version ^ header->inverse_version) == 0xFF, "an answer has a sound header");
}

struct Link final : connections::Link_if {
  void send(Bytes message) override {
    require(!closed, "nothing is said after the end");
    check_message(message);
    said.insert(said.end(), message.begin(), message.end());
  }
  std::size_t room() const override { return 65536; }
  void close(std::string_view /*reason*/) override {
    require(!closed, "a connection ends once");
    closed = true;
  }
  Bytes said;
  bool closed = false;
};

Bytes answers(Bytes const& stream, std::size_t piece) {
  connections::Connection_config const config;
  Timer_queue timers([] { return Timer_queue::Time{}; });
  connections::Socket_table sockets(1, std::chrono::milliseconds(500), timers);
  doip::Memory_budget memory(memory_bytes);
  uds::Identifier_table identifiers;
  identifiers[uds::did_active_session] = std::make_unique<uds::Session_identifier>();
  identifiers[uds::did_vin] = std::make_unique<uds::Constant_identifier>(Bytes(17, 'V'));
  Link link;
  {
    connections::Connection connection(1, {config, timers, sockets, memory, identifiers}, link);
    for (Byte_view rest = stream; !rest.empty(); rest = rest.after(piece)) {
      connection.receive(rest.first(piece));
    }
  }
  require(sockets.open_sockets() == 0 && memory.take(memory_bytes), "a connection leaves nothing behind");
  require(!timers.next(), "a connection leaves no timer behind");
  std::size_t const most_messages = stream.size() / doip::Header::size;
  require(link.said.size() <= most_messages * (2 * doip::Header::size + 16 + config.uds.max_response),
          "answers are bounded");
  link.said.push_back(static_cast<std::uint8_t>(link.closed ? 1 : 0));
  return link.said;
}

}  // namespace

void fuzz::check(Input input) {
  std::size_t const piece = input.u8() + std::size_t{1};
  auto const bytes = input.rest();
  same_in_pieces(bytes, piece, answers);
  doip::Udp_entity const entity({}, [] { return std::size_t{1}; });
  auto const datagram_answers = entity.answers(bytes, doip::Udp_entity::Cast::unicast);
  require(datagram_answers.size() <= std::min(bytes.size() / doip::Header::size, doip::Udp_entity::max_messages),
          "a message has one answer at most, and a datagram few");
  require(entity.answers(bytes, doip::Udp_entity::Cast::broadcast).size() <= datagram_answers.size(),
          "a broadcast has no more answers");
  std::for_each(datagram_answers.begin(), datagram_answers.end(),
                [](auto const& answer) { check_message(answer.message); });
}
