// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/server/diagnostic_server.h"

#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

#include <boost/asio/ip/address_v4.hpp>
#include <boost/asio/post.hpp>
#include <boost/system/system_error.hpp>

#include "machine/diagnostic_manager/reports/report_identifier.h"
#include "machine/diagnostic_manager/uds/own_identifiers.h"

namespace machine::diagnostic_manager::server {

Diagnostic_server::Diagnostic_server(Settings const& settings, Reports reports, ara::log::Logger const& log,
                                     std::function<void()> failed)
    : settings_(settings),
      log_(log),
      sockets_(settings.entity.max_sockets, settings.alive_check_time, timers_.queue()),
      memory_(settings.receive_memory),
      entity_(settings.entity, [this] { return sockets_.open_sockets(); }) {
  listen();
  add_identifiers(std::move(reports));
  thread_ = std::thread([this, callback = std::move(failed)] { run(callback); });
}

Diagnostic_server::~Diagnostic_server() {
  loop_.stop();
  thread_.join();
  // Connections let go of their reads before the identifiers end.
  tcp_.reset();
}

void Diagnostic_server::listen() {
  std::string const place = settings_.address.to_string() + ":" + std::to_string(settings_.port);
  try {
    udp_ = std::make_unique<Udp_server>(loop_, boost::asio::ip::udp::endpoint(settings_.address, settings_.port),
                                        settings_.udp, entity_, timers_.queue(), log_);
    connections::Connection::Shared const shared{settings_.connection, timers_.queue(), sockets_, memory_,
                                                 identifiers_};
    tcp_ = std::make_unique<Tcp_server>(loop_, boost::asio::ip::tcp::endpoint(settings_.address, settings_.port),
                                        shared, settings_.link, log_);
  } catch (boost::system::system_error const& failure) {
    throw std::runtime_error("Cannot listen for testers at " + place + ": " + failure.what());
  }
  log_.LogInfo() << "Listening for testers at" << place;
}

void Diagnostic_server::add_identifiers(Reports reports) {
  reports::Report_identifier::Post const post = [this](std::function<void()> work) {
    boost::asio::post(loop_, std::move(work));
  };
  doip::Identity const& identity = settings_.entity.identity;
  identifiers_[uds::did_active_session] = std::make_unique<uds::Session_identifier>();
  identifiers_[uds::did_vin] =
      std::make_unique<uds::Constant_identifier>(Bytes(identity.vin.begin(), identity.vin.end()));
  identifiers_[uds::did_flashwatch_report] =
      std::make_unique<reports::Report_identifier>(std::move(reports.flashwatch_report), post);
  identifiers_[uds::did_budget_exceedance] =
      std::make_unique<reports::Report_identifier>(std::move(reports.budget_exceedance), post);
}

void Diagnostic_server::run(std::function<void()> const& failed) {
  try {
    loop_.run();
  } catch (std::exception const& failure) {
    log_.LogFatal() << "The diagnostic server broke:" << failure.what();
    failed();
  }
}

}  // namespace machine::diagnostic_manager::server
