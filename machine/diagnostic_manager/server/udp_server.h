// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_SERVER_UDP_SERVER_H
#define MACHINE_DIAGNOSTIC_MANAGER_SERVER_UDP_SERVER_H

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <random>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>

#include "ara/log/logger.h"
#include "machine/diagnostic_manager/doip/udp_entity.h"
#include "machine/diagnostic_manager/timers/timer.h"

namespace machine::diagnostic_manager::server {

/// The discovery side: answers datagrams and, where it is wanted, announces the entity. All on the loop's thread.
class Udp_server {
 public:
  struct Config {
    /// A_DoIP_Announce_Wait: the longest random wait before an identification answer and the first announcement.
    std::chrono::milliseconds announce_wait{500};
    /// A_DoIP_Announce_Interval and A_DoIP_Announce_Num.
    std::chrono::milliseconds announce_interval{500};
    unsigned announce_count = 3;
    /// Where announcements go and broadcast requests are heard; none: neither is done.
    std::optional<boost::asio::ip::udp::endpoint> broadcast;
  };

  /// `entity` and `log` outlive the server. Throws boost::system::system_error when it cannot listen.
  Udp_server(boost::asio::io_context& loop, boost::asio::ip::udp::endpoint const& endpoint, Config config,
             doip::Udp_entity const& entity, Timer_queue& timers, ara::log::Logger const& log);
  Udp_server(Udp_server const&) = delete;
  Udp_server& operator=(Udp_server const&) = delete;

 private:
  /// A datagram is at most this long.
  static constexpr std::size_t datagram_size = 65536;

  struct Ear {
    Ear(boost::asio::io_context& loop, Timer_queue& timers, doip::Udp_entity::Cast heard)
        : socket(loop), pause(timers), cast(heard) {}
    boost::asio::ip::udp::socket socket;
    Timer pause;
    /// Nothing has been received since receiving failed; said once.
    bool failing = false;
    doip::Udp_entity::Cast cast;
    boost::asio::ip::udp::endpoint sender;
    std::array<std::uint8_t, datagram_size> input{};
  };

  void listen(Ear& ear, boost::asio::ip::udp::endpoint const& endpoint);
  void receive(Ear& ear);
  void failed(Ear& ear, boost::system::error_code const& error);
  void answer(Ear const& ear, Byte_view datagram);
  void send_later(Bytes message, boost::asio::ip::udp::endpoint const& to);
  void send(Bytes const& message, boost::asio::ip::udp::endpoint const& to);
  void announce(unsigned left);
  std::chrono::milliseconds random_wait();

  Config const config_;
  doip::Udp_entity const& entity_;
  Timer_queue& timers_;
  ara::log::Logger const& log_;
  std::minstd_rand random_;
  std::unique_ptr<Ear> unicast_;
  std::unique_ptr<Ear> broadcast_;
  Timer announce_timer_;
  std::list<Timer> delayed_;
};

}  // namespace machine::diagnostic_manager::server

#endif
