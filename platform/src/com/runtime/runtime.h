// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_RUNTIME_RUNTIME_H
#define PLATFORM_SRC_COM_RUNTIME_RUNTIME_H

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include "ara/com/future.h"
#include "platform/src/com/discovery/discovery.h"
#include "platform/src/com/runtime/offered_service.h"
#include "platform/src/com/runtime/remote_services.h"
#include "platform/src/com/runtime/server.h"
#include "platform/src/com/runtime/settings.h"
#include "tarn/com/cpp_binding/reply_if.h"
#include "tarn/com/cpp_binding/serializer.h"

namespace linux_platform::com {

/// One SOME/IP node: its own address, its service discovery, what it offers and what it calls. A process has one; tests
/// have several. Any thread may use it.
///
/// Threads: one runs discovery, timers and listening, and never a method. Methods run on the worker pool's threads,
/// which read the requests themselves. Answers to this node's own requests are read by whoever waits for them. So a
/// method may block in a call to another node: nothing it waits for needs a thread that can be inside a method.
class Runtime final {
 public:
  /// Throws std::runtime_error naming the address when the network refuses.
  explicit Runtime(Settings settings);
  ~Runtime() { stop(); }
  Runtime(Runtime const&) = delete;
  Runtime& operator=(Runtime const&) = delete;

  /// The deployment of an interface; std::runtime_error when the manifest has none.
  std::shared_ptr<Service_deployment const> deployment(std::string const& interface) const;
  Settings const& settings() const noexcept { return settings_; }

  /// Lets calls in, then announces the service. std::runtime_error when its port cannot be had.
  void offer(std::shared_ptr<Offered_service> const& service);
  /// Takes the announcement back, then waits for the methods that are running.
  void withdraw(Offered_service& service);

  /// The instances that are offered: at once when some are known, else what the network answers within the find
  /// window. `instance` may be any_instance.
  std::vector<std::uint16_t> find(Service_deployment const& service, std::uint16_t instance);

  /// See Proxy_base::connected.
  bool connected(Service_deployment const& service, std::uint16_t instance);

  /// Calls a method. See Proxy_base::send.
  std::shared_ptr<ara::com::Future_driver_if> call(
      std::shared_ptr<Service_deployment const> const& service, std::uint16_t instance, std::uint16_t method,
      std::function<void(tarn::com::cpp_binding::Serializer&)> const& write_arguments,
      std::unique_ptr<tarn::com::cpp_binding::Reply_if> reply);

  /// Withdraws all, fails outstanding requests, ends the threads. Idempotent. Requests of running methods have been
  /// failed by then, so it takes as long as those methods take without them; a connection that a method is just making
  /// takes until its response time limit at most. Not to be called from a method.
  void stop() noexcept;

 private:
  std::string on_io_thread(std::function<void()> const& function);

  Settings const settings_;
  Remote_services remote_;
  boost::asio::io_context io_;
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_;
  Server server_;
  std::unique_ptr<Discovery> discovery_;  ///< used on io_thread_ only
  std::thread io_thread_;

  std::mutex stopping_;  ///< guards what follows
  bool stopped_ = false;
};

}  // namespace linux_platform::com

#endif
