// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/connection/client_connection.h"

#include <stdexcept>
#include <utility>

namespace linux_platform::com {
namespace {

constexpr char const* runtime_ended = "the communication runtime has ended";

/// Lets the thread that waits for an answer read the connection, and keeps that alive until then.
class Link_driver final : public ara::com::Future_driver_if {
 public:
  Link_driver(std::shared_ptr<Client_link> link, std::uint16_t session) : link_(std::move(link)), session_(session) {}

  void drive(std::chrono::steady_clock::time_point until) override { link_->wait(session_, until); }

 private:
  std::shared_ptr<Client_link> const link_;
  std::uint16_t const session_;
};

}  // namespace

Client_connection::Client_connection(boost::asio::ip::address_v4 const& local, Endpoint const& remote,
                                     Limits const& limits)
    : local_(local),
      remote_(remote),
      peer_(remote.address.to_string() + ":" + std::to_string(remote.port)),
      limits_(limits) {}

std::shared_ptr<ara::com::Future_driver_if> Client_connection::call(Client_request request,
                                                                    std::vector<std::uint8_t> message) {
  if (message.size() > limits_.message_bytes) {
    request.fail(Return_code::not_ok,
                 "the request is longer than the limit of " + std::to_string(limits_.message_bytes) + " bytes");
    return nullptr;
  }
  try {
    for (;;) {
      auto const current = link(request.deadline);
      if (auto const session = current->send(request, message)) {
        return *session == Client_link::ended_at_once ? nullptr : std::make_shared<Link_driver>(current, *session);
      }
    }
  } catch (std::exception const& error) {
    request.unavailable("cannot connect to " + peer_ + ": " + error.what());
    return nullptr;
  }
}

bool Client_connection::connected() {
  std::lock_guard<std::mutex> const lock(mutex_);
  return link_ != nullptr && link_->alive();
}

// The link that stands, or a new one; of several threads that need one, one makes it.
std::shared_ptr<Client_link> Client_connection::link(Clock::time_point deadline) {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    if (closed_) {
      throw std::runtime_error(runtime_ended);
    }
    if (link_ != nullptr && link_->alive()) {
      return link_;
    }
    if (!connecting_) {
      break;
    }
    if (connected_.wait_until(lock, deadline) == std::cv_status::timeout) {
      throw std::runtime_error("another thread is still trying");
    }
  }
  connecting_ = true;
  lock.unlock();
  std::shared_ptr<Client_link> made;
  std::string trouble;
  try {
    made = std::make_shared<Client_link>(Tcp_stream::connect(local_, remote_, deadline), peer_, limits_);
  } catch (std::exception const& error) {
    trouble = error.what();
  }
  lock.lock();
  connecting_ = false;
  connected_.notify_all();
  if (made == nullptr) {
    throw std::runtime_error(trouble);
  }
  if (closed_) {
    throw std::runtime_error(runtime_ended);
  }
  link_ = made;
  return made;
}

void Client_connection::drop(std::string const& reason, Clock::time_point made_by) {
  std::shared_ptr<Client_link> dropped;
  {
    std::lock_guard<std::mutex> const lock(mutex_);
    if (link_ != nullptr && link_->made() <= made_by) {
      dropped = std::exchange(link_, nullptr);
    }
  }
  if (dropped != nullptr) {
    dropped->give_up(reason);
  }
}

void Client_connection::close(std::string const& reason) {
  {
    std::lock_guard<std::mutex> const lock(mutex_);
    closed_ = true;
  }
  drop(reason);
}

}  // namespace linux_platform::com
