// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_CONNECTION_CLIENT_CONNECTION_H
#define PLATFORM_SRC_COM_CONNECTION_CLIENT_CONNECTION_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <boost/asio/ip/address_v4.hpp>

#include "ara/com/future.h"
#include "platform/src/com/connection/client_link.h"
#include "platform/src/com/connection/client_request.h"
#include "platform/src/com/connection/limits.h"
#include "platform/src/com/discovery/endpoint.h"

namespace linux_platform::com {

/// This process's way to one remote endpoint: a TCP connection that is made when the first request needs it and made
/// anew when it was lost. Any thread may use it.
class Client_connection final {
 public:
  using Clock = std::chrono::steady_clock;

  Client_connection(boost::asio::ip::address_v4 const& local, Endpoint const& remote, Limits const& limits);

  /// Sends a request; `message` has room for the header, then holds the arguments. Blocks only while the connection is
  /// being made or its buffer is full, and not beyond the request's deadline. The result drives who waits for the
  /// answer; null when the request has ended already.
  std::shared_ptr<ara::com::Future_driver_if> call(Client_request request, std::vector<std::uint8_t> message);

  /// Whether a connection stands as far as can be told without waiting: a call would not have to make one.
  bool connected();

  /// The peer started anew or is gone: what is outstanding fails with `reason`; the next request connects again. A
  /// connection that was made later than `made_by` stays.
  void drop(std::string const& reason, Clock::time_point made_by = Clock::time_point::max());

  /// As drop(), and no request is accepted any more.
  void close(std::string const& reason);

 private:
  std::shared_ptr<Client_link> link(Clock::time_point deadline);

  boost::asio::ip::address_v4 const local_;
  Endpoint const remote_;
  std::string const peer_;
  Limits const limits_;

  std::mutex mutex_;  ///< guards what follows
  std::condition_variable connected_;
  std::shared_ptr<Client_link> link_;
  bool connecting_ = false;
  bool closed_ = false;
};

}  // namespace linux_platform::com

#endif
