// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/message/request_check.h"

namespace linux_platform::com {
namespace {

Return_code first_error(Header const& header, Addressed const& addressed) noexcept {
  if (header.protocol_version != someip_protocol_version) {
    return Return_code::wrong_protocol_version;
  }
  if (!addressed.service_known) {
    return Return_code::unknown_service;
  }
  if (header.interface_version != addressed.interface_version) {
    return Return_code::wrong_interface_version;
  }
  return addressed.method_known ? Return_code::ok : Return_code::unknown_method;
}

}  // namespace

Request_verdict check_request(Header const& header, Addressed const& addressed) noexcept {
  // All methods here have an answer, so a request is the only type with a use. Everything else - fire and forget,
  // events, answers, acknowledgements, segments - is discarded whatever else may be wrong with it.
  if (header.type != Message_type::request || (header.method & event_bit) != 0) {
    return {Request_verdict::Kind::discard, Return_code::ok};
  }
  Return_code const error = first_error(header, addressed);
  if (error == Return_code::ok) {
    return {Request_verdict::Kind::serve, error};
  }
  // What already carries an error is not answered with another.
  if (header.code != Return_code::ok) {
    return {Request_verdict::Kind::discard, error};
  }
  return {Request_verdict::Kind::answer_with_error, error};
}

Header reply_header(Header const& request, Message_type type, Return_code code) noexcept {
  Header reply = request;
  reply.protocol_version = someip_protocol_version;
  reply.type = type;
  reply.code = code;
  return reply;
}

}  // namespace linux_platform::com
