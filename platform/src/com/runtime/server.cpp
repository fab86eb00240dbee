// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/runtime/server.h"

#include <exception>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <boost/system/system_error.hpp>

#include "platform/src/com/message/request_check.h"

namespace linux_platform::com {
namespace {

// A connection with more requests than this at hand lets the others have their turn.
constexpr int requests_per_turn = 64;

}  // namespace

Server::Server(boost::asio::io_context& io, boost::asio::ip::address_v4 const& address, Limits const& limits)
    : io_(io),
      address_(address),
      limits_(limits),
      watch_(
          io, [this] { flush_all(); },
          [this] {
            ++stalls_;
            return !workers_.has_leader() && workers_.promote();
          }),
      workers_(
          limits.worker_threads, [this](Readiness::Sign sign, Workspace& workspace) { serve(sign, workspace); },
          [this] { watch_.begun(); }) {}

Server::~Server() { workers_.stop(); }

void Server::open(std::shared_ptr<Offered_service> const& service) {
  std::uint16_t const port = service->port();
  {
    std::lock_guard<std::mutex> const lock(mutex_);
    if (services_.count({port, service->key().service}) != 0) {
      throw std::runtime_error("an instance of it is offered there already");
    }
  }
  if (acceptors_.count(port) == 0) {
    workers_.start();
    try {
      auto const acceptor = std::make_shared<Acceptor>(
          io_, boost::asio::ip::tcp::endpoint(address_, port),
          [this, port](Tcp_stream stream, std::string peer) { admit(std::move(stream), port, std::move(peer)); },
          warnings_);
      acceptor->start();
      acceptors_[port] = acceptor;
    } catch (boost::system::system_error const& error) {
      throw std::runtime_error(error.code().message());
    }
  }
  service->open();
  std::lock_guard<std::mutex> const lock(mutex_);
  services_[{port, service->key().service}] = service;
}

void Server::forget(Offered_service const& service) {
  std::lock_guard<std::mutex> const lock(mutex_);
  services_.erase({service.port(), service.key().service});
  auto const next = services_.lower_bound({service.port(), 0});
  if (next == services_.end() || next->first.first != service.port()) {
    acceptors_.erase(service.port());
  }
}

void Server::close_ports() {
  acceptors_.clear();
  watch_.stop();
}

void Server::admit(Tcp_stream stream, std::uint16_t port, std::string peer) {
  std::lock_guard<std::mutex> const lock(mutex_);
  if (connections_.size() >= limits_.connections) {
    warnings_.warn("Refused " + peer + ": the limit of " + std::to_string(limits_.connections) +
                   " connections is reached");
    return;
  }
  std::uint64_t const id = ++last_id_;
  auto const added =
      connections_.emplace(id, std::make_shared<Server_connection>(std::move(stream), port, std::move(peer), limits_));
  try {
    workers_.readiness().add(added.first->second->descriptor(), id);
  } catch (std::system_error const& error) {
    warnings_.warn("Refused " + added.first->second->peer() + ": " + error.what());
    connections_.erase(added.first);
  }
}

void Server::serve(Readiness::Sign sign, Workspace& workspace) {
  auto const id = sign.id;
  auto const served = connection(id);
  if (served == nullptr) {
    return;
  }
  served->help_came();
  try {
    served->noticed(sign.end);
    if (!take_turn(*served, id, workspace)) {
      remove(id);
    }
  } catch (std::exception const& error) {
    workspace.tidy();
    warnings_.warn("Gave up " + served->peer() + ": " + error.what());
    remove(id);
  }
}

// False when the connection has ended. A turn is over early when a method was slow: whoever has come meanwhile is not
// to wait for another one.
bool Server::take_turn(Server_connection& served, std::uint64_t id, Workspace& workspace) {
  unsigned const stalls = stalls_;
  bool more = true;
  for (int turn = 0; more && turn < requests_per_turn && stalls == stalls_; ++turn) {
    auto const taken = served.take(workspace.header, workspace.payload, more);
    if (taken == Server_connection::Taken::ended) {
      return false;
    }
    if (taken == Server_connection::Taken::nothing) {
      break;
    }
    if (taken == Server_connection::Taken::broken) {
      warnings_.warn("Gave up " + served.peer() + ": the length of its message is below 8 or beyond the limit of " +
                     std::to_string(limits_.message_bytes) + " bytes");
      continue;
    }
    // What has been read already is not seen by the kernel, so the next leader has to be told of it.
    if (more && served.needs_help()) {
      workers_.readiness().call_for(served.descriptor(), id);
    }
    bool const sent = answer(served, workspace, more);
    more = served.answered() || more;
    workspace.tidy();
    if (!sent) {
      return false;
    }
  }
  if (more) {
    workers_.readiness().call_for(served.descriptor(), id);
  }
  return served.flush();
}

// False when the connection is lost.
bool Server::answer(Server_connection& connection, Workspace& workspace, bool more) {
  Header const& request = workspace.header;
  auto const addressed_service = service({connection.port(), request.service});
  Addressed addressed;
  if (addressed_service != nullptr) {
    addressed = {true, addressed_service->deployment().major, addressed_service->has_method(request.method)};
  }
  Request_verdict verdict = check_request(request, addressed);
  if (verdict.kind == Request_verdict::Kind::serve) {
    if (!addressed_service->run(workspace, limits_.message_bytes)) {
      verdict = check_request(request, {});  // withdrawn meanwhile
    }
  }
  switch (verdict.kind) {
    case Request_verdict::Kind::serve:
      return workspace.answer.empty() || reply(connection, workspace, more);
    case Request_verdict::Kind::answer_with_error:
      workspace.answer.resize(Header::size);
      write_header(workspace.answer.data(), reply_header(request, Message_type::error, verdict.error), 0);
      return reply(connection, workspace, more);
    case Request_verdict::Kind::discard:
      return true;
  }
  return true;
}

// While more requests are at hand their answers go out together. What is held back waits for no method: the watch
// sends it with its next tick.
bool Server::reply(Server_connection& connection, Workspace const& workspace, bool more) {
  bool const good = connection.write(workspace.answer, more);
  if (more) {
    watch_.begun();
  }
  return good;
}

void Server::flush_all() {
  std::lock_guard<std::mutex> const lock(mutex_);
  for (auto position = connections_.begin(); position != connections_.end();) {
    auto const current = position++;
    if (!current->second->flush()) {
      end(current);
    }
  }
}

std::shared_ptr<Server_connection> Server::connection(std::uint64_t id) {
  std::lock_guard<std::mutex> const lock(mutex_);
  auto const position = connections_.find(id);
  return position == connections_.end() ? nullptr : position->second;
}

std::shared_ptr<Offered_service> Server::service(Address const& address) {
  std::lock_guard<std::mutex> const lock(mutex_);
  auto const position = services_.find(address);
  return position == services_.end() ? nullptr : position->second;
}

void Server::remove(std::uint64_t id) {
  std::lock_guard<std::mutex> const lock(mutex_);
  auto const position = connections_.find(id);
  if (position != connections_.end()) {
    end(position);
  }
}

// The caller holds the mutex.
void Server::end(Connections::iterator position) {
  workers_.readiness().remove(position->second->descriptor());
  connections_.erase(position);
}

}  // namespace linux_platform::com
