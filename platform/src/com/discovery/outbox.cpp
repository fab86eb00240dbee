// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/discovery/outbox.h"

#include <algorithm>
#include <cstddef>

namespace linux_platform::com::discovery {
namespace {

std::vector<Entry> offer_entries(std::vector<Found> const& offers, std::uint32_t ttl) {
  std::vector<Entry> entries;
  for (auto const& offer : offers) {
    Entry entry;
    entry.type = Entry_type::offer;
    entry.key = offer.key;
    entry.ttl = ttl;
    entry.endpoints = {{offer.endpoint.address, protocol_tcp, offer.endpoint.port}};
    entries.push_back(std::move(entry));
  }
  return entries;
}

template <typename Next_stamp>
void send_all(std::vector<Entry> const& entries, Endpoint const& destination, Datagram_sink_if& sink,
              Next_stamp const& next_stamp) {
  for (std::size_t begin = 0; begin < entries.size(); begin += max_entries_sent) {
    auto const end = std::min(entries.size(), begin + max_entries_sent);
    Session_stamp const stamp = next_stamp();
    Message message;
    message.session = stamp.session;
    message.reboot = stamp.reboot;
    message.entries.assign(entries.begin() + static_cast<std::ptrdiff_t>(begin),
                           entries.begin() + static_cast<std::ptrdiff_t>(end));
    sink.send(build_message(message), destination);
  }
}

}  // namespace

Outbox::Outbox(Discovery_settings const& settings, Peers& peers, Datagram_sink_if& sink)
    : group_{settings.group, settings.port},
      ttl_(static_cast<std::uint32_t>(settings.ttl.count())),
      peers_(peers),
      sink_(sink) {}

void Outbox::announce(std::vector<Found> const& offers) { multicast(offer_entries(offers, ttl_)); }

void Outbox::withdraw(std::vector<Found> const& offers) { multicast(offer_entries(offers, ttl_withdrawn)); }

void Outbox::ask(std::vector<Service_key> const& wanted) {
  std::vector<Entry> entries;
  for (auto const& key : wanted) {
    Entry entry;
    entry.type = Entry_type::find;
    entry.key = key;
    entry.ttl = ttl_;
    entries.push_back(std::move(entry));
  }
  multicast(entries);
}

void Outbox::answer(std::vector<Found> const& offers, Endpoint const& asking) {
  unicast(offer_entries(offers, ttl_), asking);
}

void Outbox::refuse(std::vector<Entry> const& subscriptions, Endpoint const& asking) {
  std::vector<Entry> refusals;
  for (auto const& subscription : subscriptions) {
    Entry refusal;
    refusal.type = Entry_type::subscribe_ack;
    refusal.key = subscription.key;
    refusal.ttl = ttl_withdrawn;
    refusal.eventgroup = subscription.eventgroup;
    refusal.counter = subscription.counter;
    refusals.push_back(std::move(refusal));
  }
  unicast(refusals, asking);
}

void Outbox::multicast(std::vector<Entry> const& entries) {
  send_all(entries, group_, sink_, [this] { return to_group_.next(); });
}

void Outbox::unicast(std::vector<Entry> const& entries, Endpoint const& destination) {
  send_all(entries, destination, sink_, [&] { return peers_.next_to(destination.address); });
}

}  // namespace linux_platform::com::discovery
