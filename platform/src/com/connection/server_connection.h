// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_CONNECTION_SERVER_CONNECTION_H
#define PLATFORM_SRC_COM_CONNECTION_SERVER_CONNECTION_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "platform/src/com/connection/frame_buffer.h"
#include "platform/src/com/connection/limits.h"
#include "platform/src/com/connection/tcp_stream.h"
#include "platform/src/com/message/header.h"

namespace linux_platform::com {

/// The server's side of one TCP connection. Any number of threads take requests from it and write answers to it.
///
/// While an answer is waiting for a peer that does not read, no request is taken: what a peer can make us keep is
/// bounded by the answers of the methods that are running, and the rest is its own kernel's to keep.
class Server_connection final {
 public:
  enum class Taken : std::uint8_t { request, nothing, broken, ended };

  /// `port` is the local port the peer has connected to, `peer` names it in messages to people.
  Server_connection(Tcp_stream stream, std::uint16_t port, std::string peer, Limits const& limits);

  /// The network has given a sign, which take() has to follow. With `end` the peer's end has come, perhaps together
  /// with its last bytes.
  void noticed(bool end);

  /// Takes the next request: its header, and its payload copied into `payload`. To be called after every sign, and
  /// again as long as `more` says that something may be there without a further sign. `broken`, once, when the peer's
  /// bytes cannot be followed any further. `ended` when nothing more will come from it, and all that it asked is
  /// answered as far as it takes it.
  Taken take(Header& header, std::vector<std::uint8_t>& payload, bool& more);

  /// To be called once for each request taken, after its answer was written. True when it has to be followed by take():
  /// the peer ended its side meanwhile, and nobody else may be there to end ours.
  bool answered() noexcept;

  /// Writes a message as far as the peer takes it and keeps the rest until the network gives a sign. With `more` it may
  /// be held back, to go out together with the next. False when the connection is lost.
  bool write(std::vector<std::uint8_t> const& message, bool more);

  /// Writes what is held back. False when the connection is lost, or that was the last the peer had asked for.
  bool flush();

  /// True for the first caller since help_came(): one sign at a time is enough.
  bool needs_help() noexcept { return !help_called_.exchange(true); }
  void help_came() noexcept { help_called_ = false; }

  std::uint16_t port() const noexcept { return port_; }
  std::string const& peer() const noexcept { return peer_; }
  int descriptor() const noexcept { return stream_.descriptor(); }

 private:
  bool flush_locked();
  bool over() const noexcept;

  std::uint16_t const port_;
  std::string const peer_;
  Tcp_stream stream_;
  std::atomic<bool> help_called_{false};
  std::atomic<bool> ended_{false};       ///< set when the last request has been taken
  std::atomic<std::size_t> running_{0};  ///< requests taken and not yet answered

  std::mutex reading_;  ///< guards what follows
  Frame_buffer input_;
  bool drained_ = true;    ///< a reading since the last sign took all there was
  bool end_near_ = false;  ///< what there is to read is followed by the peer's end

  std::mutex writing_;  ///< guards what follows
  std::vector<std::uint8_t> unsent_;
  std::size_t sent_ = 0;  ///< bytes of unsent_ that are on their way already
  bool refused_ = false;  ///< the peer has not taken all that it was offered
};

}  // namespace linux_platform::com

#endif
