// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/runtime/runtime.h"

#include <future>
#include <stdexcept>
#include <utility>

#include <boost/asio/post.hpp>

#include "platform/src/com/runtime/comm_log.h"
#include "platform/src/log/blocked_signals.h"

namespace linux_platform::com {
namespace {

// The I/O thread is the only one that runs its context, and others rarely speak to it.
constexpr int one_thread = 1;

}  // namespace

Runtime::Runtime(Settings settings)
    : settings_(std::move(settings)),
      remote_(settings_.address, settings_.limits),
      io_(one_thread),
      work_(io_.get_executor()),
      server_(io_, settings_.address, settings_.limits),
      discovery_(std::make_unique<Discovery>(io_.get_executor(), settings_.discovery, settings_.address, remote_)) {
  log::Blocked_signals const blocked;
  io_thread_ = std::thread([this] { io_.run(); });
}

std::shared_ptr<Service_deployment const> Runtime::deployment(std::string const& interface) const {
  auto const position = settings_.services.find(interface);
  if (position == settings_.services.end()) {
    throw std::runtime_error("the machine manifest deploys no service " + interface);
  }
  return position->second;
}

// Runs a function on the I/O thread and waits for it. The result says what went wrong there; empty when nothing did.
std::string Runtime::on_io_thread(std::function<void()> const& function) {
  // Shared, for the I/O thread may still be inside when the result has arrived here.
  auto const done = std::make_shared<std::promise<std::string>>();
  auto trouble = done->get_future();
  {
    std::lock_guard<std::mutex> const lock(stopping_);
    if (stopped_) {
      return "the communication runtime has ended";
    }
    boost::asio::post(io_, [done, &function] {
      std::string trouble_there;
      try {
        function();
      } catch (std::exception const& error) {
        trouble_there = error.what();
      }
      done->set_value(trouble_there);
    });
  }
  return trouble.get();
}

void Runtime::offer(std::shared_ptr<Offered_service> const& service) {
  Service_key const key = service->key();
  std::string const trouble = on_io_thread([&] {
    server_.open(service);
    try {
      discovery_->offer(key, {settings_.address, service->port()});
    } catch (...) {
      server_.forget(*service);
      throw;
    }
  });
  if (!trouble.empty()) {
    throw std::runtime_error("cannot offer " + service->deployment().interface + " at " +
                             settings_.address.to_string() + ":" + std::to_string(service->port()) + ": " + trouble);
  }
  comm_log().LogInfo() << "Offered" << service->deployment().interface << "instance" << key.instance << "at"
                       << settings_.address.to_string() << "port" << service->port();
}

void Runtime::withdraw(Offered_service& service) {
  on_io_thread([&] {
    discovery_->withdraw(service.key());
    server_.forget(service);
  });
  service.close();
  comm_log().LogInfo() << "Withdrew" << service.deployment().interface << "instance" << service.key().instance;
}

std::vector<std::uint16_t> Runtime::find(Service_deployment const& service, std::uint16_t instance) {
  std::vector<std::uint16_t> instances = remote_.offered(service.id, service.major, instance);
  if (!instances.empty()) {
    return instances;
  }
  auto const answer = std::make_shared<std::promise<std::vector<Found>>>();
  auto found = answer->get_future();
  std::string const trouble = on_io_thread([&] {
    discovery_->find(service.id, instance, service.major, settings_.discovery.find_window,
                     [answer](std::vector<Found> offers) { answer->set_value(std::move(offers)); });
  });
  if (!trouble.empty()) {
    comm_log().LogWarn() << "Cannot search" << service.interface << ":" << trouble;
    return instances;
  }
  // Discovery calls back when the window is over at the latest, and when it ends.
  for (Found const& offer : found.get()) {
    instances.push_back(offer.key.instance);
  }
  return instances;
}

bool Runtime::connected(Service_deployment const& service, std::uint16_t instance) {
  auto const connection = remote_.connection(service.id, service.major, instance);
  return connection != nullptr && connection->connected();
}

std::shared_ptr<ara::com::Future_driver_if> Runtime::call(
    std::shared_ptr<Service_deployment const> const& service, std::uint16_t instance, std::uint16_t method,
    std::function<void(tarn::com::cpp_binding::Serializer&)> const& write_arguments,
    std::unique_ptr<tarn::com::cpp_binding::Reply_if> reply) {
  auto const limit = settings_.limits.response_time;
  Client_request request{service, method, limit, std::chrono::steady_clock::now() + limit, std::move(reply)};
  auto const connection = remote_.connection(service->id, service->major, instance);
  if (connection == nullptr) {
    request.unavailable("instance " + std::to_string(instance) + " is not offered");
    return nullptr;
  }
  std::vector<std::uint8_t> message(Header::size);
  try {
    tarn::com::cpp_binding::Serializer arguments(message, service->format);
    write_arguments(arguments);
  } catch (std::exception const& error) {
    request.fail(Return_code::not_ok, std::string("the arguments cannot be sent: ") + error.what());
    return nullptr;
  }
  return connection->call(std::move(request), std::move(message));
}

void Runtime::stop() noexcept {
  {
    std::lock_guard<std::mutex> const lock(stopping_);
    if (std::exchange(stopped_, true)) {
      return;
    }
    boost::asio::post(io_, [this] {
      discovery_->stop();
      server_.close_ports();
      work_.reset();
    });
  }
  // The requests of methods that are still running fail, so that the workers come out of them.
  remote_.close();
  server_.stop_workers();
  io_thread_.join();
}

}  // namespace linux_platform::com
