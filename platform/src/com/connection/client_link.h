// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_CONNECTION_CLIENT_LINK_H
#define PLATFORM_SRC_COM_CONNECTION_CLIENT_LINK_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/src/com/connection/client_request.h"
#include "platform/src/com/connection/frame_buffer.h"
#include "platform/src/com/connection/limits.h"
#include "platform/src/com/connection/tcp_stream.h"

namespace linux_platform::com {

/// The client's side of one TCP connection, from its establishment to its loss, with the requests that are waiting for
/// their answers on it. Any thread may use it.
///
/// It has no thread of its own: of the threads that wait for an answer one reads the connection, and hands over every
/// answer that comes; when its own has come, the next one takes over. So no answer depends on a thread that may be
/// busy, and in the usual case of one waiting thread nothing passes from thread to thread.
class Client_link final {
 public:
  using Clock = std::chrono::steady_clock;

  /// `peer` names the other end in messages to people.
  Client_link(Tcp_stream stream, std::string peer, Limits const& limits);

  /// When the connection had been established.
  Clock::time_point made() const noexcept { return made_; }

  /// Whether the link still stands as far as can be told without waiting.
  bool alive();

  /// The session of a request that has failed before it was sent.
  static constexpr std::uint16_t ended_at_once = 0;

  /// Sends a request: `message` has room for the header, then holds the arguments. Gives the session under which to
  /// wait, or ended_at_once. Nothing when the link is lost: then `request` is untouched and may go another way.
  std::optional<std::uint16_t> send(Client_request& request, std::vector<std::uint8_t>& message);

  /// Works until the request of `session` has ended or `until` has come. Ends the request itself when its deadline
  /// passes.
  void wait(std::uint16_t session, Clock::time_point until);

  /// Gives the link up: all outstanding requests fail with `reason`, and nothing can be sent any more.
  void give_up(std::string const& reason);

 private:
  struct Outstanding {
    Client_request request;
    /// Where the thread sleeps that waits for this answer while another one reads; null when none does.
    std::condition_variable* sleeper = nullptr;
  };
  using Requests = std::unordered_map<std::uint16_t, Outstanding>;

  bool idle() const { return outstanding_.empty() && !reading_; }
  std::optional<std::uint16_t> enter(Client_request& request);
  void remove_expired(std::vector<Client_request>& expired);
  void write(std::vector<std::uint8_t> const& message, Clock::time_point deadline);
  void read_within(Clock::duration patience);
  bool take_messages();
  void take(Message_view const& answer);
  Client_request extract(Requests::iterator position);
  void wake_next_reader();

  Limits const limits_;
  std::string const peer_;
  Clock::time_point const made_ = Clock::now();
  Tcp_stream stream_;

  std::mutex writing_;  ///< held while one request is written; taken after mutex_ is released

  std::mutex mutex_;  ///< guards what follows
  Requests outstanding_;
  std::uint16_t last_session_ = 0;
  bool reading_ = false;
  bool lost_ = false;
  bool stayed_ = false;                 ///< was found to stand when it was looked at
  Clock::time_point answered_ = made_;  ///< when the last answer came

  Frame_buffer input_;  ///< belongs to the thread that has set reading_
};

}  // namespace linux_platform::com

#endif
