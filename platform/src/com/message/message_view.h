// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_MESSAGE_MESSAGE_VIEW_H
#define PLATFORM_SRC_COM_MESSAGE_MESSAGE_VIEW_H

#include <cstddef>
#include <cstdint>

#include "platform/src/com/message/header.h"

namespace linux_platform::com {

/// One complete message whose payload lies in somebody else's buffer.
struct Message_view {
  Header header;
  std::uint8_t const* payload = nullptr;
  std::size_t payload_size = 0;
};

}  // namespace linux_platform::com

#endif
