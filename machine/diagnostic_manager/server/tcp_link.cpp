// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/server/tcp_link.h"

#include <utility>

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>

namespace machine::diagnostic_manager::server {

using boost::asio::ip::tcp;
using boost::system::error_code;

Tcp_link::Tcp_link(tcp::socket socket, Limits const& limits, Timer_queue& timers)
    : socket_(std::move(socket)), limits_(limits), linger_timer_(timers) {
  error_code ignored;
  // Answers are small and awaited; a socket that refuses the option only answers later.
  socket_.set_option(tcp::no_delay(true), ignored);
  socket_.non_blocking(true);
}

void Tcp_link::start(Received received, Ended ended) {
  received_ = std::move(received);
  ended_ = std::move(ended);
  read();
}

void Tcp_link::abandon() noexcept {
  state_ = State::closed;
  linger_timer_.stop();
  received_ = nullptr;
  ended_ = nullptr;
  error_code ignored;
  socket_.close(ignored);
}

void Tcp_link::send(Bytes message) {
  if (state_ != State::open) {
    return;
  }
  if (message.size() > room()) {
    end("the tester does not take its answers");
    return;
  }
  queued_ += message.size();
  queue_.push_back(std::move(message));
  if (!waiting_) {
    write();
  }
}

void Tcp_link::close(std::string_view reason) {
  if (state_ != State::open) {
    return;
  }
  state_ = State::finishing;
  reason_ = reason;
  linger_timer_.start(limits_.linger, [self = shared_from_this()] { self->end(self->reason_); });
  if (queue_.empty()) {
    finish_sending();
  }
}

void Tcp_link::read() {
  socket_.async_read_some(
      boost::asio::buffer(input_),
      [self = shared_from_this()](error_code const& error, std::size_t count) { self->bytes_read(error, count); });
}

void Tcp_link::bytes_read(error_code const& error, std::size_t count) {
  if (state_ == State::closed) {
    return;
  }
  if (error == boost::asio::error::eof && state_ == State::open) {
    input_ended_ = true;
    received_({});
    return;
  }
  if (error) {
    end(state_ == State::finishing ? reason_ : "closed by the tester");
    return;
  }
  // A closed connection is read on, so that unread bytes do not make the network discard the last answer.
  if (state_ == State::open) {
    received_({input_.data(), count});
  }
  if (state_ != State::closed) {
    read();
  }
}

// Most answers go out at once; only what the network does not take waits for the loop.
void Tcp_link::write() {
  while (!queue_.empty()) {
    Bytes const& front = queue_.front();
    error_code error;
    std::size_t const written = socket_.write_some(boost::asio::buffer(front) + sent_, error);
    if (error == boost::asio::error::would_block) {
      wait();
      return;
    }
    if (error) {
      end("lost while sending");
      return;
    }
    queued_ -= written;
    sent_ += written;
    if (sent_ == front.size()) {
      queue_.pop_front();
      sent_ = 0;
    }
  }
  if (state_ == State::finishing) {
    finish_sending();
  }
}

void Tcp_link::wait() {
  waiting_ = true;
  socket_.async_wait(tcp::socket::wait_write, [self = shared_from_this()](error_code const& /*the write tells*/) {
    self->waiting_ = false;
    if (self->state_ != State::closed) {
      self->write();
    }
  });
}

void Tcp_link::finish_sending() {
  if (input_ended_) {
    end(reason_);
    return;
  }
  error_code ignored;
  socket_.shutdown(tcp::socket::shutdown_send, ignored);
}

void Tcp_link::end(std::string_view reason) {
  if (state_ == State::closed) {
    return;
  }
  state_ = State::closed;
  error_code ignored;
  socket_.close(ignored);
  boost::asio::post(socket_.get_executor(), [self = shared_from_this(), text = std::string(reason)] {
    self->linger_timer_.stop();
    self->received_ = nullptr;
    if (Ended const ended = std::exchange(self->ended_, nullptr)) {
      ended(text);
    }
  });
}

}  // namespace machine::diagnostic_manager::server
