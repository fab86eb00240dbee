// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_RUNTIME_SERVER_H
#define PLATFORM_SRC_COM_RUNTIME_SERVER_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address_v4.hpp>

#include "platform/src/com/connection/limits.h"
#include "platform/src/com/connection/server_connection.h"
#include "platform/src/com/runtime/acceptor.h"
#include "platform/src/com/runtime/limited_warnings.h"
#include "platform/src/com/runtime/offered_service.h"
#include "platform/src/com/runtime/stall_watch.h"
#include "platform/src/com/runtime/worker_pool.h"

namespace linux_platform::com {

/// What this process serves: listening ports, the connections that came in, and the threads that answer requests.
class Server final {
 public:
  /// Listening takes place on the thread of `io`, which outlives the server.
  Server(boost::asio::io_context& io, boost::asio::ip::address_v4 const& address, Limits const& limits);
  /// The thread of `io` has ended.
  ~Server();
  Server(Server const&) = delete;
  Server& operator=(Server const&) = delete;

  /// Listens at the service's port, if nothing else does so already, and lets calls in. Called on the thread of `io`.
  /// std::runtime_error when the port cannot be had or carries an instance of the same interface already.
  void open(std::shared_ptr<Offered_service> const& service);

  /// Forgets the service; from now on its requests are answered with an error. The port is closed when it carries no
  /// other. Established connections stay: it is the client who closes them. Called on the thread of `io`.
  void forget(Offered_service const& service);

  /// Closes the ports and lets no further method run beside those that are running. Called on the thread of `io`.
  void close_ports();
  /// Ends the threads that answer requests, once they come out of their methods. Called on any other thread.
  void stop_workers() noexcept { workers_.stop(); }

 private:
  using Connections = std::map<std::uint64_t, std::shared_ptr<Server_connection>>;
  using Address = std::pair<std::uint16_t, std::uint16_t>;  ///< port and service id

  void admit(Tcp_stream stream, std::uint16_t port, std::string peer);
  void serve(Readiness::Sign sign, Workspace& workspace);
  bool take_turn(Server_connection& served, std::uint64_t id, Workspace& workspace);
  bool answer(Server_connection& connection, Workspace& workspace, bool more);
  bool reply(Server_connection& connection, Workspace const& workspace, bool more);
  void flush_all();
  std::shared_ptr<Server_connection> connection(std::uint64_t id);
  std::shared_ptr<Offered_service> service(Address const& address);
  void remove(std::uint64_t id);
  void end(Connections::iterator position);

  boost::asio::io_context& io_;
  boost::asio::ip::address_v4 const address_;
  Limits const limits_;
  Limited_warnings warnings_;
  std::map<std::uint16_t, std::shared_ptr<Acceptor>> acceptors_;  ///< by port; touched on the thread of io_ only

  std::mutex mutex_;  ///< guards what follows
  std::map<Address, std::shared_ptr<Offered_service>> services_;
  Connections connections_;
  std::uint64_t last_id_ = 0;

  std::atomic<unsigned> stalls_{0};  ///< how often a method was found to be slow
  Stall_watch watch_;                ///< sees to it that a slow method keeps neither requests nor answers waiting
  Worker_pool workers_;              ///< last, so that its threads end first
};

}  // namespace linux_platform::com

#endif
