// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_SOCKETS_H
#define PLATFORM_SRC_COM_DISCOVERY_SOCKETS_H

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/ip/address_v4.hpp>
#include <boost/asio/ip/udp.hpp>

#include "platform/src/com/discovery/discovery_settings.h"

namespace linux_platform::com::discovery {

/// The socket everything is sent from and unicast arrives at: own address, discovery port, not blocking.
/// Throws Discovery_error.
boost::asio::ip::udp::socket open_unicast_socket(boost::asio::any_io_executor const& executor,
                                                 Discovery_settings const& settings,
                                                 boost::asio::ip::address_v4 const& own);

/// The socket that multicast, and nothing else, arrives at: bound to the group, which keeps the two session counters of
/// a peer apart; a member on the own address's interface only; without what this node itself sends.
/// Throws Discovery_error.
boost::asio::ip::udp::socket open_group_socket(boost::asio::any_io_executor const& executor,
                                               Discovery_settings const& settings,
                                               boost::asio::ip::address_v4 const& own);

}  // namespace linux_platform::com::discovery

#endif
