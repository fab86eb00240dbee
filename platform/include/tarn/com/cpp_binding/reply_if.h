// SPDX-License-Identifier: Apache-2.0
#ifndef TARN_COM_CPP_BINDING_REPLY_IF_H
#define TARN_COM_CPP_BINDING_REPLY_IF_H

#include <cstdint>
#include <exception>
#include <vector>

#include "tarn/com/cpp_binding/deserializer.h"

namespace tarn::com::cpp_binding {

/// Takes what became of one request. Exactly one of result() and error() is called, unless it throws: then failure()
/// follows with the Transport_exception that says so. Called by the thread that read the reply or ended the wait for
/// it; must not block.
class Reply_if {
 public:
  virtual ~Reply_if() = default;
  Reply_if(Reply_if const&) = delete;
  Reply_if& operator=(Reply_if const&) = delete;

  /// The method returned; `payload` holds its result.
  virtual void result(Deserializer& payload) = 0;
  /// The method failed with the application error `code`, 1 to 63. False when the method declares no such error.
  virtual bool error(std::uint8_t code, std::vector<std::uint8_t> const& payload) = 0;
  /// The call failed on its way; `error` holds a Transport_exception or a Service_not_available_exception.
  virtual void failure(std::exception_ptr error) = 0;

 protected:
  Reply_if() = default;
};

}  // namespace tarn::com::cpp_binding

#endif
