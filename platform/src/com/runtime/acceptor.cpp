// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/runtime/acceptor.h"

#include <chrono>
#include <utility>

#include <boost/system/system_error.hpp>

namespace linux_platform::com {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

// After a failure, such as a lack of descriptors, trying again at once would only burn time.
constexpr std::chrono::milliseconds pause_after_failure{100};

}  // namespace

Acceptor::Acceptor(asio::io_context& io, tcp::endpoint const& endpoint, Accepted accepted, Limited_warnings& warnings)
    : acceptor_(io, endpoint, true), pause_(io), accepted_(std::move(accepted)), warnings_(warnings) {}

void Acceptor::accept_next() {
  acceptor_.async_accept([weak = weak_from_this()](boost::system::error_code const& error, tcp::socket socket) {
    auto const self = weak.lock();
    if (self == nullptr) {
      return;
    }
    if (error) {
      auto const here = self->acceptor_.local_endpoint();
      self->warnings_.warn("Cannot accept connections at " + here.address().to_string() + ":" +
                           std::to_string(here.port()) + ": " + error.message());
      self->pause();
      return;
    }
    self->hand_over(std::move(socket));
    self->accept_next();
  });
}

void Acceptor::pause() {
  pause_.expires_after(pause_after_failure);
  pause_.async_wait([weak = weak_from_this()](boost::system::error_code const& /*error*/) {
    if (auto const self = weak.lock()) {
      self->accept_next();
    }
  });
}

void Acceptor::hand_over(tcp::socket socket) {
  try {
    auto const peer = socket.remote_endpoint();
    accepted_(Tcp_stream(std::move(socket)), peer.address().to_string() + ":" + std::to_string(peer.port()));
  } catch (boost::system::system_error const&) {
    // The peer has gone before it was served.
  }
}

}  // namespace linux_platform::com
