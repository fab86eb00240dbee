// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/connection/server_connection.h"

#include <utility>

namespace linux_platform::com {
namespace {

constexpr std::size_t most_held_back = 64UL * 1024;
// A peer that sends nothing of use lets the others have their turn.
constexpr int reads_per_take = 16;
// Of each of many connections.
constexpr std::size_t kept_size = 256UL * 1024;

}  // namespace

Server_connection::Server_connection(Tcp_stream stream, std::uint16_t port, std::string peer, Limits const& limits)
    : port_(port), peer_(std::move(peer)), stream_(std::move(stream)), input_(limits.message_bytes, kept_size) {}

void Server_connection::noticed(bool end) {
  std::lock_guard<std::mutex> const lock(reading_);
  drained_ = false;  // the sign may be for bytes behind the requests that are at hand
  end_near_ = end_near_ || end;
}

Server_connection::Taken Server_connection::take(Header& header, std::vector<std::uint8_t>& payload, bool& more) {
  more = false;
  {
    std::lock_guard<std::mutex> const lock(writing_);
    if (refused_ && !flush_locked()) {
      return Taken::ended;
    }
    if (refused_) {
      return Taken::nothing;
    }
  }
  std::lock_guard<std::mutex> const lock(reading_);
  for (int reads = 0; reads < reads_per_take && !ended_; ++reads) {
    Message_view message;
    switch (input_.next(message)) {
      case Frame_buffer::Result::message:
        header = message.header;
        payload.assign(message.payload, message.payload + message.payload_size);
        more = !drained_ || input_.has_message();
        ++running_;
        return Taken::request;
      case Frame_buffer::Result::broken:
        ended_ = true;
        more = true;
        return Taken::broken;
      case Frame_buffer::Result::need_more:
        break;
    }
    Frame_buffer::Room const room = input_.room();
    Tcp_stream::Transfer const received = stream_.read(room.data, room.size);
    input_.filled(received.bytes);
    drained_ = received.bytes < room.size && !end_near_;
    ended_ = received.ended || received.error != 0;
    if (received.bytes == 0 && !ended_) {
      return Taken::nothing;
    }
  }
  more = !ended_;
  std::lock_guard<std::mutex> const lock_written(writing_);
  return !flush_locked() || over() ? Taken::ended : Taken::nothing;
}

bool Server_connection::answered() noexcept {
  --running_;
  return ended_;
}

bool Server_connection::write(std::vector<std::uint8_t> const& message, bool more) {
  std::lock_guard<std::mutex> const lock(writing_);
  if (unsent_.empty() && !more) {
    Tcp_stream::Transfer const written = stream_.write(message.data(), message.size());
    if (written.error != 0 || written.bytes == message.size()) {
      return written.error == 0;
    }
    sent_ = written.bytes;
  }
  unsent_.insert(unsent_.end(), message.begin(), message.end());
  return (more && unsent_.size() < most_held_back) || flush_locked();
}

bool Server_connection::flush() {
  std::lock_guard<std::mutex> const lock(writing_);
  return flush_locked() && !over();
}

// Whether nothing more will come and all answers are out. The caller holds writing_.
bool Server_connection::over() const noexcept { return ended_ && running_ == 0 && unsent_.empty(); }

bool Server_connection::flush_locked() {
  while (sent_ < unsent_.size()) {
    Tcp_stream::Transfer const written = stream_.write(unsent_.data() + sent_, unsent_.size() - sent_);
    refused_ = written.bytes == 0;
    if (written.error != 0 || refused_) {
      return written.error == 0;
    }
    sent_ += written.bytes;
  }
  refused_ = false;
  sent_ = 0;
  unsent_.clear();
  if (unsent_.capacity() > 2 * most_held_back) {
    unsent_ = {};
  }
  return true;
}

}  // namespace linux_platform::com
