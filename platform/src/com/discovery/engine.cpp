// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/discovery/engine.h"

#include <algorithm>
#include <utility>

#include "platform/src/com/discovery/matching.h"

namespace linux_platform::com::discovery {
namespace {

/// Who speaks, and where answers go: the datagram's source, unless the message names another port of it. Nobody speaks
/// for another address, or he could withdraw its offers.
std::optional<Endpoint> speaker(Message const& message, Endpoint const& source) {
  if (!message.sender) {
    return source;
  }
  auto const& named = *message.sender;
  if (named.protocol != protocol_udp || named.port == 0 || named.address != source.address) {
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
    remote_.remove(key);
    remote_.settle();
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
  if (searches_.full()) {
    report(now, next_searches_trouble_, "Too many searches wait at once; further ones find nothing");
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
  if (!peer) {
    return;
  }
  if (auto const last_heard = peers_.accept(now, peer->address, path, {message->session, message->reboot})) {
    listener_.on_reboot(peer->address, *last_heard);
    remote_.forget(peer->address);
    remote_.settle();
  }
  Questions questions;
  for (auto const& entry : message->entries) {
    switch (entry.type) {
      case Entry_type::find:
        take_find(entry, questions);
        break;
      case Entry_type::offer:
        take_offer(now, entry, peer->address);
        break;
      case Entry_type::subscribe:
        if (entry.ttl != ttl_withdrawn) {
          questions.subscriptions.push_back(entry);
        }
        break;
      case Entry_type::subscribe_ack:
        break;
    }
  }
  take_questions(now, path, questions, *peer);
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
  bool const known = !settings_.services || settings_.services->count(entry.key.service) != 0;
  if (!endpoint || !known || local_.has_instance(entry.key)) {
    return;
  }
  auto const expires =
      entry.ttl == ttl_until_reboot ? std::nullopt : std::make_optional(now + std::chrono::seconds{entry.ttl});
  if (!remote_.add({entry.key, *endpoint}, peer, expires)) {
    report(now, next_table_trouble_, "The network offers more services than fit the table; the rest are not seen");
  }
}

void Engine::take_find(Entry const& entry, Questions& questions) const {
  if (entry.options_valid) {
    for (auto const& offer : local_.answering(entry.key)) {
      questions.offers.insert(offer.key);
    }
  }
}

// There are no events here. A subscription belongs to one peer, so one that came by multicast was not meant for us.
void Engine::take_questions(Time now, Path path, Questions const& questions, Endpoint const& asking) {
  if (path == Path::unicast) {
    answer(questions.offers, asking);
    outbox_.refuse(questions.subscriptions, asking);
  } else if (!questions.offers.empty()) {
    answers_.add(asking, questions.offers,
                 now + random_(settings_.request_response_delay_min, settings_.request_response_delay_max));
  }
}

void Engine::answer(std::set<Service_key> const& keys, Endpoint const& asking) {
  std::vector<Found> offers;
  for (auto const& key : keys) {
    if (auto const endpoint = local_.endpoint(key)) {
      offers.push_back({key, *endpoint});
    }
  }
  outbox_.answer(offers, asking);
}

void Engine::run_due(Time now) {
  outbox_.announce(local_.take_due(now));
  outbox_.ask(searches_.take_due_questions(now));
  while (auto const due = answers_.take_due(now)) {
    answer(due->second, due->first);
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

void Engine::report(Time now, Time& next, char const* what) {
  if (now >= next) {
    next = now + trouble_pause;
    listener_.on_trouble(what);
  }
}

}  // namespace linux_platform::com::discovery
