// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_SERVER_TCP_SERVER_H
#define MACHINE_DIAGNOSTIC_MANAGER_SERVER_TCP_SERVER_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include "ara/log/logger.h"
#include "machine/diagnostic_manager/connections/connection.h"
#include "machine/diagnostic_manager/server/tcp_link.h"

namespace machine::diagnostic_manager::server {

/// Listens for testers and keeps their connections. All on the loop's thread.
class Tcp_server {
 public:
  /// `shared` and `log` outlive the server. Throws boost::system::system_error when it cannot listen at `endpoint`.
  Tcp_server(boost::asio::io_context& loop, boost::asio::ip::tcp::endpoint const& endpoint,
             connections::Connection::Shared const& shared, Tcp_link::Limits const& limits,
             ara::log::Logger const& log);
  ~Tcp_server();
  Tcp_server(Tcp_server const&) = delete;
  Tcp_server& operator=(Tcp_server const&) = delete;

 private:
  struct Tester {
    std::shared_ptr<Tcp_link> link;
    std::unique_ptr<connections::Connection> connection;
  };

  void accept();
  void accepted(boost::asio::ip::tcp::socket socket);
  void ended(std::uint64_t id, std::string const& reason);

  connections::Connection::Shared const shared_;
  Tcp_link::Limits const limits_;
  ara::log::Logger const& log_;
  std::string const place_;
  boost::asio::ip::tcp::acceptor acceptor_;
  Timer retry_timer_;
  std::map<std::uint64_t, Tester> testers_;
  std::uint64_t last_id_ = 0;
  /// Accepting has been failing since the last tester that was accepted; said once.
  bool refused_by_system_ = false;
};

}  // namespace machine::diagnostic_manager::server

#endif
