// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/connection/server_connection.h"

#include <utility>

namespace linux_platform::com {

Server_connection::Server_connection(Tcp_stream stream, std::uint16_t port, std::string peer, Limits const& limits)
    : port_(port), peer_(std::move(peer)), stream_(std::move(stream)), input_(limits.message_bytes) {}

Server_connection::Taken Server_connection::take(Header& header, std::vector<std::uint8_t>& payload, bool& more) {
  {
    std::lock_guard<std::mutex> const lock(writing_);
    if (!flush()) {
      return Taken::ended;
    }
    if (!unsent_.empty()) {
      return Taken::nothing;
    }
  }
  std::lock_guard<std::mutex> const lock(reading_);
  for (;;) {
    Message_view message;
    switch (input_.next(message)) {
      case Frame_buffer::Result::message:
        header = message.header;
        payload.assign(message.payload, message.payload + message.payload_size);
        more = !drained_ || input_.has_message();
        return Taken::request;
      case Frame_buffer::Result::broken:
        ended_ = true;
        break;
      case Frame_buffer::Result::need_more:
        break;
    }
    if (ended_) {
      return Taken::ended;
    }
    Frame_buffer::Room const room = input_.room();
    Tcp_stream::Transfer const received = stream_.read(room.data, room.size);
    input_.filled(received.bytes);
    drained_ = received.bytes < room.size;
    ended_ = received.ended || received.error;
    if (received.bytes == 0 && !ended_) {
      return Taken::nothing;
    }
  }
}

bool Server_connection::write(std::vector<std::uint8_t> const& message) {
  std::lock_guard<std::mutex> const lock(writing_);
  if (!unsent_.empty()) {
    unsent_.insert(unsent_.end(), message.begin(), message.end());
    return flush();
  }
  Tcp_stream::Transfer const written = stream_.write(message.data(), message.size());
  if (written.bytes < message.size() && !written.error) {
    unsent_.assign(message.begin() + static_cast<std::ptrdiff_t>(written.bytes), message.end());
    // The kernel only gives a sign of room after it has refused something.
    return flush();
  }
  return !written.error;
}

bool Server_connection::flush() {
  while (sent_ < unsent_.size()) {
    Tcp_stream::Transfer const written = stream_.write(unsent_.data() + sent_, unsent_.size() - sent_);
    if (written.error) {
      return false;
    }
    if (written.bytes == 0) {
      return true;
    }
    sent_ += written.bytes;
  }
  unsent_ = {};
  sent_ = 0;
  return true;
}

}  // namespace linux_platform::com
