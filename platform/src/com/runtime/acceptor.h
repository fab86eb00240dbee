// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_RUNTIME_ACCEPTOR_H
#define PLATFORM_SRC_COM_RUNTIME_ACCEPTOR_H

#include <functional>
#include <memory>
#include <string>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include "platform/src/com/connection/tcp_stream.h"
#include "platform/src/com/runtime/limited_warnings.h"

namespace linux_platform::com {

/// Listens at one port and hands over the connections that come in. Used and destroyed on the thread of its io_context.
class Acceptor final : public std::enable_shared_from_this<Acceptor> {
 public:
  /// Called for each connection; `peer` is its address and port for people to read.
  using Accepted = std::function<void(Tcp_stream stream, std::string peer)>;

  /// Listens; accepts from start() on. Throws boost::system::system_error when the endpoint cannot be had. `warnings`
  /// outlives the acceptor.
  Acceptor(boost::asio::io_context& io, boost::asio::ip::tcp::endpoint const& endpoint, Accepted accepted,
           Limited_warnings& warnings);
  void start() { accept_next(); }

 private:
  void accept_next();
  void pause();
  void hand_over(boost::asio::ip::tcp::socket socket);

  boost::asio::ip::tcp::acceptor acceptor_;
  boost::asio::steady_timer pause_;
  Accepted const accepted_;
  Limited_warnings& warnings_;
};

}  // namespace linux_platform::com

#endif
