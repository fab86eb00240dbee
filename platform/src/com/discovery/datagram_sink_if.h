// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_DISCOVERY_DATAGRAM_SINK_IF_H
#define PLATFORM_SRC_COM_DISCOVERY_DATAGRAM_SINK_IF_H

#include <cstdint>
#include <vector>

#include "platform/src/com/discovery/endpoint.h"

namespace linux_platform::com::discovery {

/// Where datagrams go. Called on the discovery thread; never blocks.
class Datagram_sink_if {
 public:
  virtual ~Datagram_sink_if() = default;
  Datagram_sink_if(Datagram_sink_if const&) = delete;
  Datagram_sink_if& operator=(Datagram_sink_if const&) = delete;

  /// Sends once, from the own address and the discovery port. A loss is not repaired: the protocol repeats itself.
  virtual void send(std::vector<std::uint8_t> const& datagram, Endpoint const& destination) = 0;

 protected:
  Datagram_sink_if() = default;
};

}  // namespace linux_platform::com::discovery

#endif
