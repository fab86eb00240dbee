// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/discovery/discovery.h"

#include <random>
#include <string>
#include <utility>

#include <boost/asio/buffer.hpp>
#include <boost/asio/steady_timer.hpp>

#include "platform/src/com/discovery/engine.h"
#include "platform/src/com/discovery/receiver.h"
#include "platform/src/com/discovery/sockets.h"

namespace linux_platform::com {
namespace {

using discovery::Path;
using discovery::Time;

discovery::Random_delay random_delays() {
  return [engine = std::mt19937{std::random_device{}()}](std::chrono::milliseconds min,
                                                         std::chrono::milliseconds max) mutable {
    return std::chrono::milliseconds{
        std::uniform_int_distribution<std::chrono::milliseconds::rep>{min.count(), max.count()}(engine)};
  };
}

Time now() { return Time::clock::now(); }

}  // namespace

/// The engine with its sockets and its one timer, which always stands at the next thing that is due.
class Discovery::Node final : public discovery::Datagram_sink_if, public std::enable_shared_from_this<Node> {
 public:
  Node(boost::asio::any_io_executor const& executor, Discovery_settings const& settings,
       boost::asio::ip::address_v4 const& own, Discovery_listener_if& listener)
      : listener_(listener),
        unicast_(discovery::open_unicast_socket(executor, settings, own)),
        group_(discovery::open_group_socket(executor, settings, own)),
        timer_(executor),
        engine_(settings, own, random_delays(), *this, listener) {}

  void start() {
    start(unicast_, Path::unicast);
    start(group_, Path::multicast);
  }

  void close() {
    closed_ = true;
    timer_.cancel();
    unicast_.close();
    group_.close();
  }

  bool closed() const noexcept { return closed_; }
  discovery::Engine& engine() noexcept { return engine_; }

  // Sets the timer to what is due next; does nothing when it stands there already.
  void arm() {
    auto const due = closed_ ? std::nullopt : engine_.next_due();
    if (due == armed_) {
      return;
    }
    armed_ = due;
    timer_.cancel();
    if (due) {
      timer_.expires_at(*due);
      timer_.async_wait([weak = weak_from_this(), due](boost::system::error_code const& cancelled) {
        auto const node = weak.lock();
        if (node && !cancelled && node->armed_ == due) {
          node->armed_.reset();
          node->engine_.run_due(now());
          node->arm();
        }
      });
    }
  }

  void send(std::vector<std::uint8_t> const& datagram, Endpoint const& destination) override {
    boost::system::error_code error;
    unicast_.socket().send_to(boost::asio::buffer(datagram), {destination.address, destination.port}, 0, error);
    if (error) {
      report(next_send_trouble_, "send to " + destination.address.to_string() + ":" + std::to_string(destination.port),
             error);
    }
  }

 private:
  void start(discovery::Receiver& receiver, Path path) {
    receiver.start(
        weak_from_this(),
        [this, path](auto const& source, std::uint8_t const* data, std::size_t size) {
          engine_.receive(now(), path, {source.address().to_v4(), source.port()}, data, size);
          arm();
        },
        [this](boost::system::error_code const& error) { report(next_receive_trouble_, "receive", error); });
  }

  void report(Time& next, std::string const& doing, boost::system::error_code const& error) {
    if (now() >= next) {
      next = now() + discovery::trouble_pause;
      listener_.on_trouble("service discovery: cannot " + doing + ": " + error.message());
    }
  }

  Discovery_listener_if& listener_;
  discovery::Receiver unicast_;
  discovery::Receiver group_;
  boost::asio::steady_timer timer_;
  std::optional<Time> armed_;
  discovery::Engine engine_;
  Time next_send_trouble_;
  Time next_receive_trouble_;
  bool closed_ = false;
};

Discovery::Discovery(boost::asio::any_io_executor const& executor, Discovery_settings const& settings,
                     boost::asio::ip::address_v4 const& own, Discovery_listener_if& listener)
    : node_(std::make_shared<Node>(executor, settings, own, listener)) {
  node_->start();
}

Discovery::~Discovery() { node_->close(); }

void Discovery::offer(Service_key const& key, Endpoint const& endpoint) {
  if (node_->closed()) {
    throw Discovery_error{"service discovery: cannot offer a service after the stop"};
  }
  if (!node_->engine().offer(now(), key, endpoint)) {
    throw Discovery_error{"service discovery: cannot offer more than " +
                          std::to_string(discovery::Local_offers::max_offers) + " services"};
  }
  node_->arm();
}

void Discovery::withdraw(Service_key const& key) {
  node_->engine().withdraw(key);
  node_->arm();
}

void Discovery::find(std::uint16_t service, std::uint16_t instance, std::uint8_t major,
                     std::chrono::milliseconds window, Find_callback callback) {
  if (node_->closed()) {
    callback({});
    return;
  }
  node_->engine().find(now(), {service, instance, major, any_minor}, window, std::move(callback));
  node_->arm();
}

std::optional<Endpoint> Discovery::live(std::uint16_t service, std::uint16_t instance, std::uint8_t major) const {
  auto const found = node_->engine().live({service, instance, major, any_minor});
  return found.empty() ? std::nullopt : std::make_optional(found.front().endpoint);
}

void Discovery::stop() {
  if (!node_->closed()) {
    node_->engine().stop();
    node_->close();
  }
}

}  // namespace linux_platform::com
