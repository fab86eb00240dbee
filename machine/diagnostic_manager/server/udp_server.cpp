// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/server/udp_server.h"

#include <utility>

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>

namespace machine::diagnostic_manager::server {
namespace {

using boost::asio::ip::udp;
using boost::system::error_code;

/// A socket that fails must not be asked in a loop.
constexpr std::chrono::milliseconds receive_retry{1000};
/// Identification answers that wait their random time; requests beyond are not answered.
constexpr std::size_t max_delayed = 64;

}  // namespace

Udp_server::Udp_server(boost::asio::io_context& loop, udp::endpoint const& endpoint, Config config,
                       doip::Udp_entity const& entity, Timer_queue& timers, ara::log::Logger const& log)
    : config_(std::move(config)),
      entity_(entity),
      timers_(timers),
      log_(log),
      random_(std::random_device{}()),
      unicast_(std::make_unique<Ear>(loop, timers, doip::Udp_entity::Cast::unicast)),
      announce_timer_(timers) {
  listen(*unicast_, endpoint);
  if (config_.broadcast) {
    unicast_->socket.set_option(boost::asio::socket_base::broadcast(true));
    broadcast_ = std::make_unique<Ear>(loop, timers, doip::Udp_entity::Cast::broadcast);
    listen(*broadcast_, *config_.broadcast);
    announce_timer_.start(random_wait(), [this] { announce(config_.announce_count); });
  }
}

void Udp_server::listen(Ear& ear, udp::endpoint const& endpoint) {
  ear.socket.open(endpoint.protocol());
  // Every entity and every tester of this host hears the broadcasts; the unicast address is this process's alone.
  if (ear.cast == doip::Udp_entity::Cast::broadcast) {
    ear.socket.set_option(boost::asio::socket_base::reuse_address(true));
  }
  ear.socket.bind(endpoint);
  ear.socket.non_blocking(true);
  receive(ear);
}

void Udp_server::receive(Ear& ear) {
  ear.socket.async_receive_from(boost::asio::buffer(ear.input), ear.sender,
                                [this, &ear](error_code const& error, std::size_t count) {
                                  if (error == boost::asio::error::operation_aborted) {
                                    return;
                                  }
                                  if (error) {
                                    failed(ear, error);
                                    return;
                                  }
                                  ear.failing = false;
                                  answer(ear, {ear.input.data(), count});
                                  receive(ear);
                                });
}

void Udp_server::failed(Ear& ear, error_code const& error) {
  if (!std::exchange(ear.failing, true)) {
    error_code ignored;
    udp::endpoint const here = ear.socket.local_endpoint(ignored);
    log_.LogWarn() << "Cannot receive datagrams at" << here.address().to_string() << "port" << here.port() << ":"
                   << error.message();
  }
  ear.pause.start(receive_retry, [this, &ear] { receive(ear); });
}

void Udp_server::answer(Ear const& ear, Byte_view datagram) {
  for (doip::Udp_entity::Answer& answer : entity_.answers(datagram, ear.cast)) {
    if (answer.after_announce_wait) {
      send_later(std::move(answer.message), ear.sender);
    } else {
      send(answer.message, ear.sender);
    }
  }
}

void Udp_server::send_later(Bytes message, udp::endpoint const& to) {
  if (delayed_.size() >= max_delayed) {
    return;
  }
  auto const waiting = delayed_.emplace(delayed_.end(), timers_);
  waiting->start(random_wait(), [this, waiting, to, kept = std::move(message)] {
    send(kept, to);
    delayed_.erase(waiting);
  });
}

void Udp_server::send(Bytes const& message, udp::endpoint const& to) {
  error_code error;
  unicast_->socket.send_to(boost::asio::buffer(message), to, 0, error);
  if (error) {
    log_.LogDebug() << "Cannot send a datagram to" << to.address().to_string() << error.message();
  }
}

void Udp_server::announce(unsigned left) {
  send(entity_.announcement(), *config_.broadcast);
  if (left > 1) {
    announce_timer_.start(config_.announce_interval, [this, left] { announce(left - 1); });
  }
}

std::chrono::milliseconds Udp_server::random_wait() {
  std::uniform_int_distribution<std::chrono::milliseconds::rep> distribution(0, config_.announce_wait.count());
  return std::chrono::milliseconds(distribution(random_));
}

}  // namespace machine::diagnostic_manager::server
