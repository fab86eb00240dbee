// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/discovery/endpoint_filter.h"

#include <algorithm>

namespace linux_platform::com::discovery {

Endpoint_filter::Endpoint_filter(Discovery_settings const& settings, boost::asio::ip::address_v4 const& own)
    : own_(own),
      loopback_(settings.loopback_endpoints.value_or(own.is_loopback())),
      network_(settings.endpoint_network) {}

std::optional<Endpoint> Endpoint_filter::tcp_endpoint(std::vector<Endpoint_option> const& options) const {
  if (!std::all_of(options.begin(), options.end(), [this](auto const& option) { return believable(option); })) {
    return std::nullopt;
  }
  auto const of = [&options](std::uint8_t protocol) {
    return std::count_if(options.begin(), options.end(),
                         [protocol](auto const& option) { return option.protocol == protocol; });
  };
  if (of(protocol_tcp) != 1 || of(protocol_udp) > 1) {
    return std::nullopt;
  }
  auto const tcp =
      std::find_if(options.begin(), options.end(), [](auto const& option) { return option.protocol == protocol_tcp; });
  return Endpoint{tcp->address, tcp->port};
}

bool Endpoint_filter::believable(Endpoint_option const& option) const {
  auto const& address = option.address;
  bool const protocol = option.protocol == protocol_tcp || option.protocol == protocol_udp;
  bool const unicast = !address.is_multicast() && !address.is_unspecified() &&
                       address != boost::asio::ip::address_v4::broadcast() && address != own_;
  bool const reachable = loopback_ || !address.is_loopback();
  bool const inside = !network_ || (address.to_uint() & network_->netmask().to_uint()) == network_->network().to_uint();
  return protocol && option.port != 0 && unicast && reachable && inside;
}

}  // namespace linux_platform::com::discovery
