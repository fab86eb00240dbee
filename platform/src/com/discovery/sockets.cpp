// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/discovery/sockets.h"

#include <netinet/in.h>
#include <string>
#include <sys/socket.h>

#include <boost/asio/ip/multicast.hpp>
#include <boost/system/system_error.hpp>

#include "platform/src/com/discovery/discovery.h"

namespace linux_platform::com::discovery {
namespace {

using boost::asio::ip::address_v4;
using boost::asio::ip::udp;

constexpr int hops = 1;  // discovery never leaves its own network

udp::socket open_bound(boost::asio::any_io_executor const& executor, udp::endpoint const& local) {
  udp::socket socket{executor, udp::v4()};
  socket.set_option(udp::socket::reuse_address{true});  // another stack of this machine may listen on every address
  socket.bind(local);
  socket.non_blocking(true);
  return socket;
}

[[noreturn]] void fail(std::string const& what, boost::system::system_error const& error) {
  throw Discovery_error{"service discovery: cannot " + what + ": " + error.code().message()};
}

// Only the membership of this socket counts, not that of every other socket of the machine.
void hear_own_membership_only(udp::socket& socket) {
  int const off = 0;
  ::setsockopt(socket.native_handle(), IPPROTO_IP, IP_MULTICAST_ALL, &off, sizeof off);
}

// Saves a wake-up for each datagram of one's own. Where it is refused, they are told by their source address.
void leave_out_own_datagrams(udp::socket& socket, address_v4 const& group, address_v4 const& own) {
  ip_mreq_source request{};
  request.imr_multiaddr.s_addr = htonl(group.to_uint());
  request.imr_interface.s_addr = htonl(own.to_uint());
  request.imr_sourceaddr.s_addr = htonl(own.to_uint());
  ::setsockopt(socket.native_handle(), IPPROTO_IP, IP_BLOCK_SOURCE, &request, sizeof request);
}

}  // namespace

udp::socket open_unicast_socket(boost::asio::any_io_executor const& executor, Discovery_settings const& settings,
                                address_v4 const& own) {
  try {
    auto socket = open_bound(executor, {own, settings.port});
    socket.set_option(boost::asio::ip::multicast::outbound_interface{own});
    socket.set_option(boost::asio::ip::multicast::enable_loopback{true});
    socket.set_option(boost::asio::ip::multicast::hops{hops});
    return socket;
  } catch (boost::system::system_error const& error) {
    fail("send from " + own.to_string() + ":" + std::to_string(settings.port), error);
  }
}

udp::socket open_group_socket(boost::asio::any_io_executor const& executor, Discovery_settings const& settings,
                              address_v4 const& own) {
  try {
    auto socket = open_bound(executor, {settings.group, settings.port});
    hear_own_membership_only(socket);
    socket.set_option(boost::asio::ip::multicast::join_group{settings.group, own});
    leave_out_own_datagrams(socket, settings.group, own);
    return socket;
  } catch (boost::system::system_error const& error) {
    fail("listen to group " + settings.group.to_string() + ":" + std::to_string(settings.port) + " on " +
             own.to_string(),
         error);
  }
}

}  // namespace linux_platform::com::discovery
