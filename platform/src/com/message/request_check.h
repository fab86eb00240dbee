// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_MESSAGE_REQUEST_CHECK_H
#define PLATFORM_SRC_COM_MESSAGE_REQUEST_CHECK_H

#include <cstdint>

#include "platform/src/com/message/header.h"

namespace linux_platform::com {

/// What a server knows about the service and the method that a message names.
struct Addressed {
  bool service_known = false;
  std::uint8_t interface_version = 0;  ///< the major version that is offered
  bool method_known = false;
};

struct Request_verdict {
  enum class Kind : std::uint8_t { serve, answer_with_error, discard };
  Kind kind = Kind::discard;
  Return_code error = Return_code::ok;
};

/// The checks of SOME/IP that a server makes on a complete message before it reads the payload, in their order:
/// protocol version, type, segmentation, service, interface version, method. Only a request (type 0x00) with return
/// code 0 is ever answered with an error.
Request_verdict check_request(Header const& header, Addressed const& addressed) noexcept;

/// The error answer's header: the ids and the interface version of the request, our protocol version.
Header reply_header(Header const& request, Message_type type, Return_code code) noexcept;

}  // namespace linux_platform::com

#endif
