// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/discovery/engine.h"

#include <algorithm>
#include <utility>

#include "platform/src/com/discovery/matching.h"

namespace linux_platform::com::discovery {
namespace {

/// Who speaks, and where answers go: the datagram's source, unless the message names another endpoint.
std::optional<Endpoint> speaker(Message const& message, Endpoint const& source) {
  if (!message.sender) {
    return source;
  }
  auto const& named = *message.sender;
  if (named.protocol != protocol_udp || named.port == 0 || named.address.is_multicast() ||
      named.address.is_unspecified()) {
    return std::nullopt;
  }
  return Endpoint{named.address, named.port};
}

}  // namespace

Engine::Engine(Discovery_settings const& settings, boost::asio::ip::address_v4 const& own, Random_delay const& random,
               Datagram_sink_if& sink, Discovery_listener_if& listener)
    : settings_(settings),
      own_(own),
      random_(random),
      listener_(listener),
      filter_(settings, own),
      local_(settings, random),
      remote_(listener),
      searches_(settings),
      outbox_(settings, peers_, sink) {}

bool Engine::offer(Time now, Service_key const& key, Endpoint const& endpoint) {
  auto const before = local_.endpoint(key);
  if (!local_.add(key, endpoint, now)) {
    return false;
  }
  if (before != endpoint) {
    listener_.on_available(key, endpoint);
    call_back(searches_.take_found([this](auto const& wanted) { return live(wanted); }));
  }
  return true;
}

void Engine::withdraw(Service_key const& key) {
  if (auto const offer = local_.remove(key)) {
    outbox_.withdraw({*offer});
    listener_.on_unavailable(key);
  }
}

void Engine::find(Time now, Service_key const& wanted, std::chrono::milliseconds window, Searches::Callback callback) {
  auto found = live(wanted);
  if (!found.empty()) {
    callback(std::move(found));
    return;
  }
  report(reported_searches_, searches_.full(), "Too many searches wait at once; further ones find nothing");
  if (searches_.full()) {
    callback({});
    return;
  }
  searches_.add(wanted, window, std::move(callback), now);
  outbox_.ask({wanted});
}

std::vector<Found> Engine::live(Service_key const& wanted) const {
  auto found = local_.matching(wanted);
  auto const remote = remote_.matching(wanted);
  found.insert(found.end(), remote.begin(), remote.end());
  std::sort(found.begin(), found.end(), [](Found const& a, Found const& b) { return a.key < b.key; });
  return found;
}

void Engine::stop() {
  auto const offers = local_.all();
  for (auto const& offer : offers) {
    local_.remove(offer.key);
  }
  outbox_.withdraw(offers);
  for (auto const& offer : offers) {
    listener_.on_unavailable(offer.key);
  }
  call_back(searches_.take_all());
}

void Engine::receive(Time now, Path path, Endpoint const& source, std::uint8_t const* data, std::size_t size) {
  if (source.address == own_ || source.port != settings_.port) {
    return;
  }
  auto const message = parse_message(data, size);
  if (!message) {
    return;
  }
  auto const peer = speaker(*message, source);
  if (!peer || peer->address == own_) {
    return;
  }
  if (peers_.accept(peer->address, path, {message->session, message->reboot})) {
    listener_.on_reboot(peer->address);
    remote_.forget(peer->address);
    remote_.settle();
  }
  for (auto const& entry : message->entries) {
    switch (entry.type) {
      case Entry_type::find:
        take_find(now, path, entry, *peer);
        break;
      case Entry_type::offer:
        take_offer(now, entry, peer->address);
        break;
      case Entry_type::subscribe:
        take_subscribe(path, entry, *peer);
        break;
      case Entry_type::subscribe_ack:
        break;
    }
  }
  remote_.settle();
  call_back(searches_.take_found([this](auto const& wanted) { return live(wanted); }));
}

void Engine::take_offer(Time now, Entry const& entry, boost::asio::ip::address_v4 const& peer) {
  if (!entry.options_valid || !is_concrete(entry.key)) {
    return;
  }
  if (entry.ttl == ttl_withdrawn) {
    remote_.remove(entry.key, peer);
    return;
  }
  auto const endpoint = filter_.tcp_endpoint(entry.endpoints);
  if (!endpoint || local_.has_instance(entry.key)) {
    return;
  }
  auto const expires =
      entry.ttl == ttl_until_reboot ? std::nullopt : std::make_optional(now + std::chrono::seconds{entry.ttl});
  bool const room = remote_.add({entry.key, *endpoint}, peer, expires);
  report(reported_full_table_, !room || (reported_full_table_ && remote_.full()),
         "The network offers more services than fit the table; the rest are not seen");
}

void Engine::take_find(Time now, Path path, Entry const& entry, Endpoint const& asking) {
  if (!entry.options_valid) {
    return;
  }
  auto const offers = local_.answering(entry.key);
  if (path == Path::unicast) {
    outbox_.answer(offers, asking);
    return;
  }
  for (auto const& offer : offers) {
    answers_.add(asking, offer.key,
                 now + random_(settings_.request_response_delay_min, settings_.request_response_delay_max));
  }
}

// There are no events here. A subscription belongs to one peer, so one that came by multicast was not meant for us.
void Engine::take_subscribe(Path path, Entry const& entry, Endpoint const& asking) {
  if (path == Path::multicast || entry.ttl == ttl_withdrawn) {
    return;
  }
  outbox_.refuse(entry, asking);
}

void Engine::run_due(Time now) {
  outbox_.announce(local_.take_due(now));
  outbox_.ask(searches_.take_due_questions(now));
  while (auto const answer = answers_.take_due(now)) {
    std::vector<Found> offers;
    for (auto const& key : answer->second) {
      if (auto const endpoint = local_.endpoint(key)) {
        offers.push_back({key, *endpoint});
      }
    }
    outbox_.answer(offers, answer->first);
  }
  remote_.expire(now);
  remote_.settle();
  call_back(searches_.take_expired(now));
}

std::optional<Time> Engine::next_due() const {
  return earlier(earlier(local_.next_due(), remote_.next_expiry()), earlier(searches_.next_due(), answers_.next_due()));
}

void Engine::call_back(std::vector<Searches::Outcome> const& ended) {
  for (auto const& outcome : ended) {
    outcome.callback(outcome.found);
  }
}

void Engine::report(bool& reported, bool is_so, char const* what) {
  if (is_so && !reported) {
    listener_.on_trouble(what);
  }
  reported = is_so;
}

}  // namespace linux_platform::com::discovery
