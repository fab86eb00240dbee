// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_MESSAGE_OUTCOME_H
#define PLATFORM_SRC_COM_MESSAGE_OUTCOME_H

#include <cstdint>

#include "platform/src/com/message/header.h"

namespace linux_platform::com {

/// How a method ended.
struct Outcome {
  enum class Kind : std::uint8_t {
    result,               ///< it returned
    application_error,    ///< it failed with the error `number` of its interface
    communication_error,  ///< it could not be reached or understood; `code` says how
  };
  Kind kind = Kind::result;
  std::uint8_t number = 0;
  Return_code code = Return_code::ok;
};

/// Type and return code of a reply.
struct Reply_code {
  Message_type type;
  Return_code code;
};

/// The application errors of an interface are numbered 1 to 63.
constexpr std::uint8_t max_application_error = 63;

/// The mapping of application error N to the wire, the only place that knows it: an error message with return code
/// 0x1F + N, that is 0x20 to 0x5E. A number that does not exist goes out as E_NOT_OK.
Reply_code application_error_reply(std::uint8_t number) noexcept;

/// The way back. A response (0x80) with a return code other than 0 means the same as an error (0x81) with it; an error
/// with code 0 means E_NOT_OK.
Outcome outcome_of(Reply_code reply) noexcept;

}  // namespace linux_platform::com

#endif
