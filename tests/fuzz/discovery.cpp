// SPDX-License-Identifier: Apache-2.0
// Service discovery: each datagram stands behind a control byte and its length (2 bytes). What is read from it can be
// written and read again; a node that hears all of them stays within its bounds, and its own words can be read.
#include <set>

#include "platform/src/com/discovery/engine.h"
#include "tests/fuzz/fuzz.h"

namespace {

using namespace linux_platform::com::discovery;
using namespace linux_platform::com;
using boost::asio::ip::address_v4;
using fuzz::require;

/// Of UDP in an Ethernet frame.
constexpr std::size_t longest_datagram = 1472;

void check_round_trip(Message const& message) {
  std::size_t options = 0;
  for (auto const& entry : message.entries) {
    options += entry.endpoints.size() <= 15 ? entry.endpoints.size() : 256;
  }
  if (message.entries.size() > max_entries_sent || options > 255) {
    return;  // an entry counts its options in 4 bits and finds them by 8
  }
  auto const bytes = build_message(message);
  auto const again = parse_message(bytes.data(), bytes.size());
  auto const same = [](Entry const& a, Entry const& b) {
    return a.type == b.type && a.key == b.key && a.ttl == b.ttl && a.eventgroup == b.eventgroup &&
           a.counter == b.counter && a.endpoints == b.endpoints;
  };
  require(again && again->session == message.session && again->reboot == message.reboot &&
              std::equal(again->entries.begin(), again->entries.end(), message.entries.begin(), message.entries.end(),
                         same),
          "what was read can be written and read again");
}

class Node final : public Datagram_sink_if, public Discovery_listener_if {
 public:
  Node() {
    engine.offer(now, {0x6001, 1, 1, 0}, {own, 30501});
    engine.find(now, {0x6010, any_instance, 1, any_minor}, std::chrono::milliseconds(100), [](auto const&) {});
  }

  void send(std::vector<std::uint8_t> const& datagram, Endpoint const& destination) override {
    auto const message = parse_message(datagram.data(), datagram.size());
    require(message && !message->entries.empty(), "a node's own words can be read");
    require(datagram.size() <= longest_datagram, "a datagram fits a frame");
    require(destination.port != 0 && !destination.address.is_unspecified(), "an answer has a destination");
  }
  void on_available(Service_key const& key, Endpoint const& endpoint) override {
    require(endpoint.port != 0 && key.instance != any_instance && key.instance != 0, "an offer can be called");
    known_.insert(key);
  }
  void on_unavailable(Service_key const& key) override { require(known_.erase(key) == 1, "only what was there goes"); }
  void on_reboot(address_v4 const& address, Time /*last_heard*/) override {
    require(address != own, "a node does not hear itself");
  }

  void run_until(Time then) {
    now = then;
    engine.run_due(now);
    auto const due = engine.next_due();
    require(!due || *due > now, "a node rests once it has done what was due");
  }
  void check() const {
    require(known_.size() <= Remote_offers::max_offers + 1, "the table of offers is bounded");
    for (auto const& key : known_) {
      require(engine.live(key).size() == 1, "what the listener was told is what a search finds");
    }
  }

  Time now;
  address_v4 const own{0xC0000201};  // 192.0.2.1
  Engine engine{Discovery_settings{}, own, [](auto, auto max) { return max; }, *this, *this};

 private:
  std::set<Service_key> known_;
};

}  // namespace

void fuzz::check(Input input) {
  Node node;
  while (!input.empty()) {
    unsigned const control = input.u8();
    std::size_t const length = (std::size_t{input.u8()} << 8U) | input.u8();
    auto const datagram = input.take(length);
    if (auto const message = parse_message(datagram.data(), datagram.size())) {
      require(message->entries.size() <= max_entries_received, "a datagram has a bounded number of entries");
      check_round_trip(*message);
    }
    Endpoint const source{address_v4{0xC0000202 + (control & 3U)}, 30490};
    node.engine.receive(node.now, (control & 4U) != 0 ? Path::multicast : Path::unicast, source, datagram.data(),
                        datagram.size());
    node.run_until(node.now + std::chrono::milliseconds(100) * static_cast<int>(control >> 3U));
  }
  node.check();
  node.engine.stop();
}
