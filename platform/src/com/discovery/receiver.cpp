// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/discovery/receiver.h"

#include <utility>

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>

namespace linux_platform::com::discovery {

Receiver::Receiver(boost::asio::ip::udp::socket socket)
    : socket_(std::move(socket)), pause_(socket_.get_executor()), buffer_(max_datagram) {}

void Receiver::start(std::weak_ptr<void> const& owner, On_datagram on_datagram, On_error on_error) {
  owner_ = owner;
  on_datagram_ = std::move(on_datagram);
  on_error_ = std::move(on_error);
  receive();
}

void Receiver::close() {
  boost::system::error_code ignored;  // nothing is left to do about a socket that cannot be closed
  socket_.close(ignored);
  pause_.cancel();
}

void Receiver::receive() {
  socket_.async_receive_from(boost::asio::buffer(buffer_), source_,
                             [this, owner = owner_](boost::system::error_code const& error, std::size_t size) {
                               if (auto const alive = owner.lock()) {
                                 received(error, size);
                               }
                             });
}

void Receiver::received(boost::system::error_code const& error, std::size_t size) {
  if (!socket_.is_open()) {
    return;
  }
  if (!error) {
    on_datagram_(source_, buffer_.data(), size);
    if (socket_.is_open()) {
      receive();
    }
    return;
  }
  on_error_(error);
  pause_.expires_after(error_pause);
  pause_.async_wait([this, owner = owner_](boost::system::error_code const& cancelled) {
    auto const alive = owner.lock();
    if (alive && !cancelled && socket_.is_open()) {
      receive();
    }
  });
}

}  // namespace linux_platform::com::discovery
