// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/connection/client_link.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace linux_platform::com {
namespace {

// A connection carries the requests of one process only, so one client id will do.
constexpr std::uint16_t client_id = 1;
// A server that sends without end does not keep a caller from looking at its own answer and its limit.
constexpr int most_reads = 16;
// A process has few connections of its own, and asks the same again and again: it keeps a buffer even for large
// answers.
constexpr std::size_t kept_size = 2048UL * 1024;
// A connection that has just brought an answer is not asked whether it still stands: no other server can have taken the
// place of the one that answered. The first answer is not enough: there are peers that close after each.
constexpr std::chrono::milliseconds trusted_for{1};

bool is_reply(Header const& header) {
  return header.protocol_version == someip_protocol_version && header.client == client_id &&
         (header.type == Message_type::response || header.type == Message_type::error);
}

}  // namespace

Client_link::Client_link(Tcp_stream stream, std::string peer, Limits const& limits)
    : limits_(limits), peer_(std::move(peer)), stream_(std::move(stream)), input_(limits.message_bytes, kept_size) {
  outstanding_.reserve(limits.outstanding_requests);
}

bool Client_link::alive() {
  {
    std::lock_guard<std::mutex> const lock(mutex_);
    if (lost_ || !idle() || (stayed_ && Clock::now() < answered_ + trusted_for)) {
      return !lost_;
    }
    reading_ = true;
  }
  // Nobody has looked at the connection since the last answer: it may have been closed meanwhile.
  read_within(Clock::duration::zero());
  std::lock_guard<std::mutex> const lock(mutex_);
  reading_ = false;
  stayed_ = !lost_;
  wake_next_reader();
  return stayed_;
}

std::optional<std::uint16_t> Client_link::send(Client_request& request, std::vector<std::uint8_t>& message) {
  Header header;
  header.service = request.service->id;
  header.method = request.method;
  header.client = client_id;
  header.interface_version = request.service->major;
  auto const deadline = request.deadline;

  auto const session = enter(request);
  if (!session || *session == ended_at_once) {
    return session;
  }
  header.session = *session;
  write_header(message.data(), header, static_cast<std::uint32_t>(message.size() - Header::size));
  write(message, deadline);
  return session;
}

// Registers the request under a session of its own.
std::optional<std::uint16_t> Client_link::enter(Client_request& request) {
  std::vector<Client_request> expired;
  std::optional<std::uint16_t> session;
  {
    std::lock_guard<std::mutex> const lock(mutex_);
    if (lost_) {
      return {};
    }
    if (outstanding_.size() >= limits_.outstanding_requests) {
      remove_expired(expired);
    }
    if (outstanding_.size() < limits_.outstanding_requests) {
      do {
        ++last_session_;
      } while (last_session_ == 0 || outstanding_.count(last_session_) != 0);
      outstanding_.emplace(last_session_, Outstanding{std::move(request)});
      session = last_session_;
    }
  }
  for (Client_request const& gone : expired) {
    gone.expire();
  }
  if (!session) {
    // NOLINTNEXTLINE(bugprone-use-after-move): a request that was moved has a session.
    request.fail(Return_code::not_ok, std::to_string(limits_.outstanding_requests) +
                                          " requests are waiting for answers on the connection to " + peer_ +
                                          " already");
    return ended_at_once;
  }
  return session;
}

// Requests whose futures nobody waits for end here.
void Client_link::remove_expired(std::vector<Client_request>& expired) {
  auto const now = Clock::now();
  for (auto position = outstanding_.begin(); position != outstanding_.end();) {
    auto const current = position++;
    if (current->second.request.deadline <= now && current->second.sleeper == nullptr) {
      expired.push_back(extract(current));
    }
  }
}

// A request that went out in part only is the end of the connection.
void Client_link::write(std::vector<std::uint8_t> const& message, Clock::time_point deadline) {
  std::lock_guard<std::mutex> const lock(writing_);
  for (std::size_t sent = 0; sent < message.size();) {
    Tcp_stream::Transfer const written = stream_.write(message.data() + sent, message.size() - sent);
    sent += written.bytes;
    if (written.error != 0) {
      return give_up("the connection to " + peer_ +
                     " was lost while the request was written: " + std::generic_category().message(written.error));
    }
    if (written.bytes == 0 && !stream_.wait_writable(deadline)) {
      return give_up(peer_ + " did not take the whole request within its response time");
    }
  }
}

void Client_link::wait(std::uint16_t session, Clock::time_point until) {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    auto const position = outstanding_.find(session);
    if (position == outstanding_.end()) {
      return;
    }
    auto const now = Clock::now();
    if (now >= position->second.request.deadline) {
      Client_request const late = extract(position);
      wake_next_reader();
      lock.unlock();
      late.expire();
      return;
    }
    auto const limit = std::min(until, position->second.request.deadline);
    if (!reading_) {
      reading_ = true;
      lock.unlock();
      read_within(limit - now);
      lock.lock();
      reading_ = false;
    } else if (now < limit) {
      std::condition_variable sleeper;
      position->second.sleeper = &sleeper;
      sleeper.wait_until(lock, limit);
      auto const still = outstanding_.find(session);
      if (still != outstanding_.end() && still->second.sleeper == &sleeper) {
        still->second.sleeper = nullptr;
      }
    }
    if (outstanding_.count(session) == 0 || Clock::now() >= until) {
      wake_next_reader();
      return;
    }
  }
}

// Reads what is there, or much of it; waits for it, but no longer than `patience`. Without any it looks once.
void Client_link::read_within(Clock::duration patience) {
  Tcp_stream::Transfer received;
  for (int reads = 0; reads < most_reads; ++reads) {
    Frame_buffer::Room const room = input_.room();
    received = stream_.read_within(room.data, room.size, std::exchange(patience, Clock::duration::zero()));
    input_.filled(received.bytes);
    if (!take_messages()) {
      return;
    }
    if (received.bytes < room.size) {
      break;
    }
  }
  if (received.error != 0) {
    give_up("the connection to " + peer_ + " was lost: " + std::generic_category().message(received.error));
  } else if (received.ended) {
    give_up("the connection to " + peer_ + " was closed" +
            (input_.inside_message() ? " in the middle of an answer" : ""));
  }
}

// False when the peer cannot be followed any further.
bool Client_link::take_messages() {
  for (;;) {
    Message_view answer;
    switch (input_.next(answer)) {
      case Frame_buffer::Result::message:
        take(answer);
        break;
      case Frame_buffer::Result::need_more:
        return true;
      case Frame_buffer::Result::broken:
        give_up(peer_ + " sent a message whose length is below 8 or beyond the limit of " +
                std::to_string(limits_.message_bytes) + " bytes");
        return false;
    }
  }
}

// Late answers, answers to nobody and everything that is no answer are dropped.
void Client_link::take(Message_view const& answer) {
  if (!is_reply(answer.header)) {
    return;
  }
  Client_request request;
  {
    std::lock_guard<std::mutex> const lock(mutex_);
    auto const position = outstanding_.find(answer.header.session);
    if (position == outstanding_.end()) {
      return;
    }
    Client_request const& waiting = position->second.request;
    if (waiting.service->id != answer.header.service || waiting.method != answer.header.method ||
        waiting.service->major != answer.header.interface_version) {
      return;
    }
    request = extract(position);
    answered_ = Clock::now();
  }
  request.finish(answer);
}

void Client_link::give_up(std::string const& reason) {
  std::vector<Client_request> failed;
  {
    std::lock_guard<std::mutex> const lock(mutex_);
    lost_ = true;
    failed.reserve(outstanding_.size());
    while (!outstanding_.empty()) {
      failed.push_back(extract(outstanding_.begin()));
    }
  }
  stream_.shut_down();
  for (Client_request const& request : failed) {
    request.fail(Return_code::not_ok, reason);
  }
}

Client_request Client_link::extract(Requests::iterator position) {
  Outstanding ended = std::move(position->second);
  outstanding_.erase(position);
  if (ended.sleeper != nullptr) {
    ended.sleeper->notify_one();
  }
  return std::move(ended.request);
}

// The thread that has read stops doing so: one that sleeps takes its place.
void Client_link::wake_next_reader() {
  if (reading_) {
    return;
  }
  for (auto& [session, waiting] : outstanding_) {
    if (waiting.sleeper != nullptr) {
      waiting.sleeper->notify_one();
      return;
    }
  }
}

}  // namespace linux_platform::com
