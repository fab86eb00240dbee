// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_RUNTIME_WORKSPACE_H
#define PLATFORM_SRC_COM_RUNTIME_WORKSPACE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/src/com/message/header.h"

namespace linux_platform::com {

/// What one worker needs for one request, kept from request to request so that its memory is reused.
struct Workspace {
  /// Memory beyond this is given back after each request.
  static constexpr std::size_t kept_bytes = 256U << 10U;

  Header header;
  std::vector<std::uint8_t> payload;
  std::vector<std::uint8_t> answer;
  std::shared_ptr<void const> output;  ///< of the method; taken down after the answer has been written

  void tidy() {
    output = nullptr;
    for (auto* buffer : {&payload, &answer}) {
      buffer->clear();
      if (buffer->capacity() > kept_bytes) {
        *buffer = {};
      }
    }
  }
};

}  // namespace linux_platform::com

#endif
