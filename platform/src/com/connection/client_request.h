// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_CONNECTION_CLIENT_REQUEST_H
#define PLATFORM_SRC_COM_CONNECTION_CLIENT_REQUEST_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/src/com/message/message_view.h"
#include "platform/src/com/message/service_deployment.h"
#include "tarn/com/cpp_binding/reply_if.h"

namespace linux_platform::com {

/// One method call on the client's side, from the call to its end. It ends once, by one of the functions below.
struct Client_request {
  std::shared_ptr<Service_deployment const> service;
  std::uint16_t method = 0;
  std::chrono::milliseconds response_time{0};
  std::chrono::steady_clock::time_point deadline;
  std::unique_ptr<tarn::com::cpp_binding::Reply_if> reply;

  /// Hands over what the server answered.
  void finish(Message_view const& answer) const;
  /// Fails the call with a Transport_exception: the method, then `what`.
  void fail(Return_code code, std::string const& what) const;
  /// Fails the call because its response time limit has passed.
  void expire() const;
  /// Fails the call with a Service_not_available_exception: the method, then `what`.
  void unavailable(std::string const& what) const;
};

}  // namespace linux_platform::com

#endif
