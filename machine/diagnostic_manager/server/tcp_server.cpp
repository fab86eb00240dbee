// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/server/tcp_server.h"

#include <chrono>
#include <utility>

#include <boost/asio/error.hpp>

namespace machine::diagnostic_manager::server {
namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;

/// Accepting fails when descriptors or memory have run out: the next try waits for some to come back.
constexpr std::chrono::milliseconds accept_retry{100};
/// Connections that are only sending their last answer, beside those in the table.
constexpr std::size_t max_finishing = 64;

}  // namespace

Tcp_server::Tcp_server(boost::asio::io_context& loop, tcp::endpoint const& endpoint,
                       connections::Connection::Shared const& shared, Tcp_link::Limits const& limits,
                       ara::log::Logger const& log)
    : shared_(shared),
      limits_(limits),
      log_(log),
      place_(endpoint.address().to_string() + ":" + std::to_string(endpoint.port())),
      acceptor_(loop, endpoint, true),
      retry_timer_(shared.timers) {
  accept();
}

Tcp_server::~Tcp_server() {
  for (auto& [id, tester] : testers_) {
    tester.link->abandon();
  }
}

void Tcp_server::accept() {
  acceptor_.async_accept([this](error_code const& error, tcp::socket socket) {
    if (error == boost::asio::error::operation_aborted) {
      return;
    }
    if (error && error != boost::asio::error::connection_aborted) {
      if (!std::exchange(refused_by_system_, true)) {
        log_.LogWarn() << "Cannot accept testers at" << place_ << ":" << error.message();
      }
      retry_timer_.start(accept_retry, [this] { accept(); });
      return;
    }
    if (!error) {
      refused_by_system_ = false;
      accepted(std::move(socket));
    }
    accept();
  });
}

void Tcp_server::accepted(tcp::socket socket) {
  if (!shared_.sockets.has_room() || testers_.size() >= shared_.sockets.open_sockets() + max_finishing) {
    log_.LogDebug() << "A tester too many: its connection is closed";
    return;
  }
  std::uint64_t const id = ++last_id_;
  auto const link = std::make_shared<Tcp_link>(std::move(socket), limits_, shared_.timers);
  auto connection = std::make_unique<connections::Connection>(id, shared_, *link);
  connections::Connection& receiver = *connection;
  testers_.emplace(id, Tester{link, std::move(connection)});
  link->start([&receiver](Byte_view bytes) { bytes.empty() ? receiver.input_ended() : receiver.receive(bytes); },
              [this, id](std::string const& reason) { ended(id, reason); });
  log_.LogDebug() << "Tester connection" << id << "accepted";
}

void Tcp_server::ended(std::uint64_t id, std::string const& reason) {
  log_.LogDebug() << "Tester connection" << id << "ended:" << reason;
  testers_.erase(id);
}

}  // namespace machine::diagnostic_manager::server
