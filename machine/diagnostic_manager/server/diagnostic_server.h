// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_SERVER_DIAGNOSTIC_SERVER_H
#define MACHINE_DIAGNOSTIC_MANAGER_SERVER_DIAGNOSTIC_SERVER_H

#include <functional>
#include <memory>
#include <thread>

#include <boost/asio/io_context.hpp>

#include "ara/log/logger.h"
#include "machine/diagnostic_manager/connections/socket_table.h"
#include "machine/diagnostic_manager/doip/memory_budget.h"
#include "machine/diagnostic_manager/doip/udp_entity.h"
#include "machine/diagnostic_manager/reports/report_if.h"
#include "machine/diagnostic_manager/server/tcp_server.h"
#include "machine/diagnostic_manager/server/timer_driver.h"
#include "machine/diagnostic_manager/server/udp_server.h"
#include "machine/diagnostic_manager/settings/settings.h"
#include "machine/diagnostic_manager/uds/identifier_table.h"

namespace machine::diagnostic_manager::server {

/// The whole DoIP entity: the sockets, the event loop and its thread, and what stands behind each identifier. Listens
/// when it is constructed, ends when it is destroyed.
class Diagnostic_server {
 public:
  /// The services behind 0x17F0 and 0x17F2.
  struct Reports {
    std::unique_ptr<reports::Report_if> flashwatch_report;
    std::unique_ptr<reports::Report_if> budget_exceedance;
  };

  /// `failed` is called on the server's thread should the loop ever end by an exception. Threads take over the caller's
  /// signal mask. Throws std::runtime_error, naming address and port, when one of them cannot be had.
  Diagnostic_server(Settings const& settings, Reports reports, ara::log::Logger const& log,
                    std::function<void()> failed);
  ~Diagnostic_server();
  Diagnostic_server(Diagnostic_server const&) = delete;
  Diagnostic_server& operator=(Diagnostic_server const&) = delete;

 private:
  void add_identifiers(Reports reports);
  void listen();
  void run(std::function<void()> const& failed);

  Settings const settings_;
  ara::log::Logger const& log_;
  boost::asio::io_context loop_{1};
  Timer_driver timers_{loop_};
  uds::Identifier_table identifiers_;
  connections::Socket_table sockets_;
  doip::Memory_budget memory_;
  doip::Udp_entity entity_;
  std::unique_ptr<Udp_server> udp_;
  std::unique_ptr<Tcp_server> tcp_;
  std::thread thread_;
};

}  // namespace machine::diagnostic_manager::server

#endif
